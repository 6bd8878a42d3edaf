#!/usr/bin/env bash
# Writes the shipped settings file data/PARA.ini: Shift-JIS (CP932) with CRLF line ends, as the
# program and the sites' editors expect. Edit this script, not the generated file, then run it.
set -euo pipefail
cd "$(dirname "$0")/.."
out=data/PARA.ini

list() { # list SECTION ITEM...: a remembered list with "MAX" and keys 1..MAX
  local section=$1; shift
  echo "[$section]"
  echo "MAX=$#"
  local i=1
  for item in "$@"; do echo "$i=$item"; i=$((i + 1)); done
  echo
}

menu_group() { # menu_group N "caption//target"...: section BOTTANL<N>, 24 keys, "//" for unused slots
  local n=$1; shift
  echo "[BOTTANL$n]"
  local k=1
  for entry in "$@"; do echo "$k=$entry"; k=$((k + 1)); done
  while [ $k -le 24 ]; do echo "$k=//"; k=$((k + 1)); done
  echo
}

{
cat <<'TEXT'
; 部品表システム 設定ファイル
; 文字コードは Shift-JIS で保存して下さい。値は 1 行、99 バイトまでです。
; リスト（MAX と 1～MAX のキー）は画面から追加されます。番号を飛ばさないで下さい。

[HEAD]
; メインメニューのタイトルと背景色（1～16）
TITLE=部品表システム　メインメニュー
COLOR=7

[BOTTANR]
; メインメニュー右側のグループボタン 1～10（空欄のボタンは表示されません）
1=部品表
2=印刷設定
3=
4=
5=
6=
7=
8=
9=
10=

TEXT
echo "; メインメニュー左側のボタン：キー 1～24 に「表示名//呼出名」。「//」だけのキーは表示されません。"
echo "; キー 1 は印刷用エクセル設定画面、キー 2 は部品表作成（図面検索）画面を開きます。"
menu_group 1 "印刷用エクセル設定//KVRCAD0003" "部品表作成//KVRCAD0001"
menu_group 2 "客先別　印刷レイアウト設定//KVRCAD0003" "図面検索・部品表の編集//KVRCAD0001"
for g in 3 4 5 6 7 8 9 10; do menu_group $g; done

cat <<'TEXT'
[MSGCD]
E001=部品表システムは既に起動しています。起動中の画面をお使い下さい。
E002=メニュー設定の読込みでエラーが発生しました。PARA.iniを確認して下さい。内容：
E003=設定ファイルが見つかりません。プログラムのフォルダに置いて下さい。ファイル：
E102=数値を入力して下さい。数字以外の文字は入力できません。
E103=必須項目が入力されていません。入力してから実行して下さい。
E108=シートが選択されていません。一覧からシートを選んで下さい。
E109=エクセルファイルを開けませんでした。ファイルとシートの設定を確認して下さい。
E111=取込ファイルが未設定か、開けませんでした。取込ファイルの設定を確認して下さい。
E114=雛形ファイルが見つかりません。ファイル：
E115=雛形ファイルが設定されていません。「雛形ﾌｧｲﾙ設定」で雛形ファイルを選んで下さい。
E117=客先が入力されていません。客先を選ぶか入力して下さい。
E118=１ページの行数が入力されていません。行数を入力して下さい。
E120=列の指定が正しくありません。列は A～IV の半角大文字で入力して下さい。
E150=この客先・区分の印刷設定がありません。印刷用エクセル設定で登録して下さい。
I100=更新が完了しました。
Q001=名称が登録されている内容と異なります。新しい名称にしますか？　
Q105=この客先と部品表区分の印刷設定は既に登録されています。上書きしますか？

[DBMS]
; データベースの種類：LOCAL（SQLite ファイル）、ODBC、ORACLE
; ODBC と ORACLE はデータソースに接続できるかを確かめるだけで、部品表の読み書きには使われません
; （ODBC で [ODBC] SHARED=1 のときは別：下記）。
DB=LOCAL

[LOCAL]
; プログラムのフォルダからの相対パス
MDB=DB\CADDB.sqlite

[ORACLE]
DSN=BUHINHYO_ORA
UID=buhin
PWD=buhin

[ODBC]
PRV=MSDASQL
DSN=buhinhyo
UID=buhin
PWD=buhin
; SHARED=1 と DB=ODBC で、複数の端末が PostgreSQL サーバーの部品表を共有します（チーム使用、README 参照）。
;SHARED=1

TEXT
list USER "ABC精機" "東和工業" "株式会社サンプル機工" "株式会社山田製作所" "東洋精機株式会社" "大和機工株式会社" "北陸メカトロ株式会社" "中央重工業株式会社"
list MAKER "ミスミ" "THK" "SMC" "CKD" "NSK" "オリエンタルモーター" "キーエンス" "オムロン" "椿本チエイン" "三菱電機"
list STANI "個" "本" "枚" "組" "セット" "台" "式" "m" "kg" "R" "L" "R/L×" "L/R×" "計"
list DESINED "山田" "佐藤" "鈴木" "高橋" "田中" "伊藤"

echo "[KVRCAD0002COMBOMAX]"
echo "MAX=8"
echo
combo() { # combo N ITEM...: an input list of the parts table editor; INDEX is its place among them
  local n=$1; shift
  list "KVRCAD0002COMBO$n" "$@" | sed "1a INDEX=$((n - 1))"
}
combo 1 "ベース" "プレート" "ブラケット" "カバー" "フレーム" "シャフト" "スペーサ" "ブロック"
combo 2 "六角ボルト" "六角穴付ボルト" "六角ナット" "平座金" "ばね座金" "止め輪" "平行ピン"
combo 3 "深溝玉軸受" "リニアガイド" "ボールねじ" "カップリング" "タイミングプーリ" "タイミングベルト"
combo 4 "エアシリンダ" "電磁弁" "近接センサ" "ステッピングモータ" "減速機" "スピードコントローラ"
combo 5 "SS400" "S45C" "SCM435" "SUS304" "SUS303" "A5052" "A2017" "C3604"
combo 6 "SPCC" "SECC" "SPHC" "SUS430" "SGCC"
combo 7 "MCナイロン" "POM" "PEEK" "ウレタン" "NBR"
combo 8 "FC200" "FC250" "FCD450" "SC450" "購入品"
} | sed 's/$/\r/' | iconv -f UTF-8 -t CP932 > "$out.tmp"
# Every value must fit in the 99 bytes that the program reads.
if LC_ALL=C awk -F= '/^[^;[]/ { v = substr($0, index($0, "=") + 1); sub(/\r$/, "", v); if (length(v) > 99) { print "too long: " $0; bad = 1 } } END { exit !bad }' "$out.tmp"; then
  rm -f "$out.tmp"; exit 1
fi
mv "$out.tmp" "$out"
echo "wrote $out"
