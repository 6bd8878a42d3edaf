/* Writes the workbook templates the engine's tests use (see make_templates.sh).
 *
 *   make_templates OUTDIR LOGO.png
 *
 * plain.xlsx           one plain page: title, headings, 20 detail rows, no merges or heights
 * header_boxes.xlsx    the parts-list page: merged header boxes, borders, fixed row heights,
 *                      50 rows with 40 detail rows 8..47 in columns A..H, print area A1:H50
 * logo.xlsx            header_boxes with a logo picture anchored in the header and a link
 *                      in the page's last row
 * formulas.xlsx        header_boxes with a page total =SUM(H8:H47), a second sheet that refers
 *                      to it, a defined name and the print area
 * validation.xlsx      header_boxes with data validations and conditional formats in the
 *                      detail area
 * japanese_names.xlsx  Japanese sheet names (with blanks) that refer to each other
 * table.xlsx           header_boxes with a table (list object) below the page
 */
#include <stdio.h>
#include <string.h>
#include <xlsxwriter.h>

typedef struct {
    lxw_format *title, *label, *box, *boxLeft, *boxMid, *boxRight, *date, *heading, *detail,
        *detailCenter, *detailNumber, *footer, *total;
} Formats;

static Formats makeFormats(lxw_workbook *wb)
{
    Formats f;
    f.title = workbook_add_format(wb);
    format_set_bold(f.title);
    format_set_font_size(f.title, 18);
    format_set_align(f.title, LXW_ALIGN_CENTER);
    format_set_align(f.title, LXW_ALIGN_VERTICAL_CENTER);

    f.label = workbook_add_format(wb);
    format_set_border(f.label, LXW_BORDER_THIN);
    format_set_bg_color(f.label, 0xD9D9D9);
    format_set_align(f.label, LXW_ALIGN_CENTER);

    f.box = workbook_add_format(wb);
    format_set_border(f.box, LXW_BORDER_THIN);
    f.boxLeft = workbook_add_format(wb);
    format_set_top(f.boxLeft, LXW_BORDER_THIN);
    format_set_bottom(f.boxLeft, LXW_BORDER_THIN);
    format_set_left(f.boxLeft, LXW_BORDER_THIN);
    f.boxMid = workbook_add_format(wb);
    format_set_top(f.boxMid, LXW_BORDER_THIN);
    format_set_bottom(f.boxMid, LXW_BORDER_THIN);
    f.boxRight = workbook_add_format(wb);
    format_set_top(f.boxRight, LXW_BORDER_THIN);
    format_set_bottom(f.boxRight, LXW_BORDER_THIN);
    format_set_right(f.boxRight, LXW_BORDER_THIN);

    f.date = workbook_add_format(wb);
    format_set_border(f.date, LXW_BORDER_THIN);
    format_set_num_format(f.date, "yyyy/mm/dd");

    f.heading = workbook_add_format(wb);
    format_set_bold(f.heading);
    format_set_bg_color(f.heading, 0xD9D9D9);
    format_set_border(f.heading, LXW_BORDER_THIN);
    format_set_top(f.heading, LXW_BORDER_MEDIUM);
    format_set_align(f.heading, LXW_ALIGN_CENTER);

    f.detail = workbook_add_format(wb);
    format_set_border(f.detail, LXW_BORDER_THIN);
    f.detailCenter = workbook_add_format(wb);
    format_set_border(f.detailCenter, LXW_BORDER_THIN);
    format_set_align(f.detailCenter, LXW_ALIGN_CENTER);
    f.detailNumber = workbook_add_format(wb);
    format_set_border(f.detailNumber, LXW_BORDER_THIN);
    format_set_align(f.detailNumber, LXW_ALIGN_RIGHT);
    format_set_num_format(f.detailNumber, "#,##0");

    f.footer = workbook_add_format(wb);
    format_set_font_size(f.footer, 9);
    format_set_align(f.footer, LXW_ALIGN_RIGHT);

    f.total = workbook_add_format(wb);
    format_set_bold(f.total);
    format_set_num_format(f.total, "#,##0");
    format_set_top(f.total, LXW_BORDER_DOUBLE);
    return f;
}

/* The one-page parts-list layout. */
static void headerBoxPage(lxw_worksheet *ws, const Formats *f)
{
    static const double widths[8] = {7, 30, 11, 12, 20, 10, 12, 16};
    static const char *headings[8] = {"品番", "品名", "材質", "数量", "備考", "単価", "金額", "メーカー"};
    for (int c = 0; c < 8; ++c)
        worksheet_set_column(ws, c, c, widths[c], NULL);
    for (int r = 0; r < 50; ++r)
        worksheet_set_row(ws, r, (r == 1 || r == 5) ? 9 : (r == 0 ? 30 : 18), NULL);
    worksheet_merge_range(ws, 0, 0, 0, 7, "部　品　表", f->title);
    const char *labels[3] = {"図番", "図名", "客先"};
    for (int i = 0; i < 3; ++i) {
        worksheet_write_string(ws, 2 + i, 0, labels[i], f->label);
        worksheet_merge_range(ws, 2 + i, 1, 2 + i, 3, "", f->box);
        worksheet_write_blank(ws, 2 + i, 1, f->boxLeft);
        worksheet_write_blank(ws, 2 + i, 2, f->boxMid);
        worksheet_write_blank(ws, 2 + i, 3, f->boxRight);
    }
    worksheet_write_string(ws, 4, 1, "株式会社　東邦精機", f->boxLeft);
    worksheet_write_string(ws, 2, 6, "日付", f->label);
    worksheet_write_blank(ws, 2, 7, f->date);
    worksheet_write_string(ws, 3, 6, "頁", f->label);
    worksheet_write_blank(ws, 3, 7, f->box);
    for (int c = 0; c < 8; ++c)
        worksheet_write_string(ws, 6, c, headings[c], f->heading);
    for (int r = 7; r < 47; ++r)
        for (int c = 0; c < 8; ++c) {
            lxw_format *fmt = (c == 0 || c == 3) ? f->detailCenter : (c == 5 || c == 6) ? f->detailNumber : f->detail;
            worksheet_write_blank(ws, r, c, fmt);
        }
    worksheet_merge_range(ws, 48, 4, 48, 7, "東邦精機　設計部　様式 B-12", f->footer);
    worksheet_set_paper(ws, 9);
    worksheet_set_portrait(ws);
    worksheet_set_print_scale(ws, 70);
    worksheet_center_horizontally(ws);
    worksheet_print_area(ws, 0, 0, 49, 7);
}

static int finish(lxw_workbook *wb, const char *name)
{
    lxw_error err = workbook_close(wb);
    if (err) {
        fprintf(stderr, "%s: %s\n", name, lxw_strerror(err));
        return 1;
    }
    return 0;
}

static lxw_workbook *newBook(const char *dir, const char *file)
{
    static char path[4096];
    snprintf(path, sizeof path, "%s/%s", dir, file);
    lxw_workbook_options opt = {0};
    opt.constant_memory = LXW_FALSE;
    lxw_workbook *wb = workbook_new_opt(path, &opt);
    /* fixed creation time: the same script gives the same files */
    lxw_doc_properties props = {0};
    props.title = "部品表テンプレート";
    props.created = 1700000000;
    workbook_set_properties(wb, &props);
    return wb;
}

int main(int argc, char **argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: make_templates OUTDIR LOGO.png\n");
        return 2;
    }
    const char *dir = argv[1];
    int rc = 0;

    { /* plain */
        lxw_workbook *wb = newBook(dir, "plain.xlsx");
        lxw_worksheet *ws = workbook_add_worksheet(wb, "List");
        worksheet_write_string(ws, 0, 0, "Parts list", NULL);
        const char *h[4] = {"Item", "Name", "Qty", "Price"};
        for (int c = 0; c < 4; ++c)
            worksheet_write_string(ws, 2, c, h[c], NULL);
        worksheet_write_string(ws, 24, 3, "end of page", NULL);
        rc |= finish(wb, "plain.xlsx");
    }
    { /* header boxes */
        lxw_workbook *wb = newBook(dir, "header_boxes.xlsx");
        Formats f = makeFormats(wb);
        headerBoxPage(workbook_add_worksheet(wb, "部品表"), &f);
        rc |= finish(wb, "header_boxes.xlsx");
    }
    { /* logo */
        lxw_workbook *wb = newBook(dir, "logo.xlsx");
        Formats f = makeFormats(wb);
        lxw_worksheet *ws = workbook_add_worksheet(wb, "部品表");
        headerBoxPage(ws, &f);
        lxw_image_options io = {0};
        io.x_offset = 4;
        io.y_offset = 2;
        io.description = "logo";
        worksheet_insert_image_opt(ws, 2, 4, argv[2], &io);
        worksheet_write_url(ws, 49, 0, "https://example.co.jp/parts", NULL);
        rc |= finish(wb, "logo.xlsx");
    }
    { /* formulas */
        lxw_workbook *wb = newBook(dir, "formulas.xlsx");
        Formats f = makeFormats(wb);
        lxw_worksheet *ws = workbook_add_worksheet(wb, "部品表");
        headerBoxPage(ws, &f);
        worksheet_write_string(ws, 47, 5, "頁計", NULL);
        worksheet_write_formula(ws, 47, 7, "=SUM(H8:H47)", f.total);
        worksheet_write_formula(ws, 47, 6, "=COUNTA(B8:B47)", NULL);
        lxw_worksheet *sum = workbook_add_worksheet(wb, "集計");
        worksheet_write_string(sum, 0, 0, "1頁目の合計", NULL);
        worksheet_write_formula(sum, 0, 1, "='部品表'!H48", NULL);
        worksheet_write_string(sum, 1, 0, "全体の合計", NULL);
        worksheet_write_formula(sum, 1, 1, "=SUM('部品表'!$H$8:$H$47)", NULL);
        worksheet_write_formula(sum, 2, 1, "=部品表!B3&\"/\"&部品表!B4", NULL);
        workbook_define_name(wb, "頁合計", "='部品表'!$H$48");
        rc |= finish(wb, "formulas.xlsx");
    }
    { /* validation and conditional formats */
        lxw_workbook *wb = newBook(dir, "validation.xlsx");
        Formats f = makeFormats(wb);
        lxw_worksheet *ws = workbook_add_worksheet(wb, "部品表");
        headerBoxPage(ws, &f);
        char *makers[] = {"ミスミ", "THK", "オリエンタルモーター", NULL};
        lxw_data_validation dv = {0};
        dv.validate = LXW_VALIDATION_TYPE_LIST;
        dv.value_list = makers;
        worksheet_data_validation_range(ws, 7, 7, 46, 7, &dv);
        lxw_data_validation dv2 = {0};
        dv2.validate = LXW_VALIDATION_TYPE_INTEGER;
        dv2.criteria = LXW_VALIDATION_CRITERIA_BETWEEN;
        dv2.minimum_number = 0;
        dv2.maximum_number = 9999999;
        worksheet_data_validation_range(ws, 7, 5, 46, 6, &dv2);
        lxw_format *red = workbook_add_format(wb);
        format_set_font_color(red, LXW_COLOR_RED);
        lxw_conditional_format cf = {0};
        cf.type = LXW_CONDITIONAL_TYPE_CELL;
        cf.criteria = LXW_CONDITIONAL_CRITERIA_GREATER_THAN;
        cf.value = 100000;
        cf.format = red;
        worksheet_conditional_format_range(ws, 7, 6, 46, 6, &cf);
        lxw_format *yellow = workbook_add_format(wb);
        format_set_bg_color(yellow, 0xFFFF99);
        lxw_conditional_format cf2 = {0};
        cf2.type = LXW_CONDITIONAL_TYPE_FORMULA;
        cf2.value_string = "=$E8=\"至急\"";
        cf2.format = yellow;
        worksheet_conditional_format_range(ws, 7, 0, 46, 7, &cf2);
        rc |= finish(wb, "validation.xlsx");
    }
    { /* Japanese sheet names */
        lxw_workbook *wb = newBook(dir, "japanese_names.xlsx");
        Formats f = makeFormats(wb);
        lxw_worksheet *cover = workbook_add_worksheet(wb, "表紙");
        lxw_worksheet *ws = workbook_add_worksheet(wb, "製作部品表 A");
        headerBoxPage(ws, &f);
        lxw_worksheet *buy = workbook_add_worksheet(wb, "購入部品表");
        worksheet_write_string(buy, 0, 0, "購入品", NULL);
        worksheet_write_formula(cover, 0, 0, "='製作部品表 A'!B4", NULL);
        worksheet_write_formula(cover, 1, 0, "=購入部品表!A1", NULL);
        worksheet_write_formula(cover, 2, 0, "=COUNTA('製作部品表 A'!A8:A47)", NULL);
        rc |= finish(wb, "japanese_names.xlsx");
    }
    { /* a table below the page */
        lxw_workbook *wb = newBook(dir, "table.xlsx");
        Formats f = makeFormats(wb);
        lxw_worksheet *ws = workbook_add_worksheet(wb, "部品表");
        headerBoxPage(ws, &f);
        worksheet_write_string(ws, 54, 0, "区分", NULL);
        worksheet_write_string(ws, 54, 1, "件数", NULL);
        worksheet_write_string(ws, 54, 2, "備考", NULL);
        worksheet_write_string(ws, 55, 0, "製作", NULL);
        worksheet_write_number(ws, 55, 1, 12, NULL);
        worksheet_write_string(ws, 56, 0, "購入", NULL);
        worksheet_write_number(ws, 56, 1, 30, NULL);
        worksheet_add_table(ws, 54, 0, 57, 2, NULL);
        rc |= finish(wb, "table.xlsx");
    }
    return rc;
}
