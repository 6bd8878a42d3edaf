#!/bin/sh
# stage.sh BUILD_DIR LINES.csv STAGE_DIR
# Makes an application folder for buhinhyo-print whose database holds the lines of an anchor input
# (item,name,material,qty,remarks,unit_price,amount,maker,abolished) as one parts table
# DWG-2024-0815-A / 01, kind 1, and output settings that fill the anchors' template.xlsx the way
# the anchors do (header B3, B4, H3, H4; lines in rows 8-47 of a 50-row page, columns A-H).
set -eu
build=$1
csv=$2
stage=$3
anchors=$(cd "$(dirname "$csv")" && pwd)
template=${ANCHOR_TEMPLATE:-$anchors/template.xlsx}
[ -f "$template" ] || template=/work/shared/anchors/template.xlsx
src=$(cd "$(dirname "$0")/../.." && pwd)

rm -rf "$stage"
mkdir -p "$stage/DB" "$stage/WORK"
cp "$build/app/buhinhyo-print" "$stage/"
cp "$template" "$stage/template.xlsx"
printf '[DBMS]\r\nDB=LOCAL\r\n[LOCAL]\r\nMDB=DB\\CADDB.sqlite\r\n[MSGCD]\r\nE109=EXCELファイルを開けませんでした。\r\nE111=EXCELファイルをコピーできませんでした。\r\nE114=EXCELファイルが見つかりません。\r\nE150=出力設定がされていません。\r\n' |
    iconv -f UTF-8 -t CP932 >"$stage/PARA.ini"

db="$stage/DB/CADDB.sqlite"
sqlite3 "$db" ".read $src/data/schema.sql"
{
    echo "BEGIN;"
    echo "INSERT INTO BUHINHYO (CH_DWGNO,CH_ASSY,CH_BUHIN,CH_USER,CH_NAME,CH_HDATE,CH_DESINED) VALUES ('DWG-2024-0815-A','01','1','ベンチ工業','搬送ユニット組立','2024/08/15','山田');"
    cols="CH_USER,CH_BUHIN,CH_ORGPATH,CH_ORGSHEET,INT_PAGEMAX,CH_HMIDASHI_R,CH_HMIDASHI_C,CH_HMIDASHI"
    vals="'ベンチ工業','1','$stage/template.xlsx','部品表',50,'','',''"
    for h in "DWGNO 3 B 1" "NAME 4 B 1" "ASSY 5 B 0" "DATE 3 H 1" "DESINED 5 H 0" "SHEET 4 H 1"; do
        set -- $h
        cols="$cols,CH_H$1_R,CH_H$1_C,YN_H$1"
        vals="$vals,'$2','$3',$4"
    done
    for m in "ZUBAN A 品番" "HINMEI B 品名" "ZAISHITU C 材質" "SURYO D 数量" "BIKO E 備考" "TANKA F 単価" \
        "KING G 金額" "MAKER H メーカー"; do
        set -- $m
        cols="$cols,CH_M$1_SR,CH_M$1_SC,CH_M$1_ER,CH_M$1_EC,YN_M$1,CH_MM$1"
        vals="$vals,'8','$2','47','$2',1,'$3'"
    done
    echo "INSERT INTO SETTEI ($cols) VALUES ($vals);"
    awk -F, 'NR > 1 {
        q1 = $4; u1 = ""; q2 = "NULL"; u2 = "";
        if ($4 ~ /^R=/) { split($4, p, " "); q1 = substr(p[1], 3); u1 = "R"; q2 = substr(p[2], 3); u2 = "L" }
        printf "INSERT INTO BUHINHYO_M (CH_ASSY,CH_DWGNO,CH_USER,CH_BUHIN,CH_ZNO,CH_HINMEI,CH_ZAISHITU,INT_SURYO,CH_TANI,INT_SURYO2,CH_TANI2,CH_BIKO,INT_TANKA,INT_KINGK,CH_MAKER,CH_HAISHI,CH_KAKKO,CH_UPDDATE) VALUES (\04701\047,\047DWG-2024-0815-A\047,\047ベンチ工業\047,\0471\047,\047%s\047,\047%s\047,\047%s\047,%s,\047%s\047,%s,\047%s\047,\047%s\047,%s,%s,\047%s\047,%s,0,\04720240815\047);\n",
            $1, $2, $3, q1, u1, q2, u2, $5, $6, $7, $8, $9 }' "$csv"
    echo "COMMIT;"
} | sqlite3 "$db"
touch "$stage/.ready"
