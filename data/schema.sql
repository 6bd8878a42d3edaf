-- The database of the parts tables and the output settings (SQLite).
-- Made into build/app/DB/CADDB.sqlite by the build (target stage_db) and usable with the sqlite3
-- command: sqlite3 CADDB.sqlite < schema.sql
--
-- Column types follow the prefixes: CH_ text, INT_ number, YN_ yes/no (and the two detail flags
-- CH_HAISHI and CH_KAKKO, which are yes/no although their names begin with CH_).
-- * Text columns compare without regard to case (COLLATE NOCASE) in "=", LIKE and ORDER BY, as the
--   users' data always did: k-2401 finds K-2401. A database made before is rebuilt so when the
--   program connects to it (rows and numbering kept).
-- * Text columns default to the empty text: a row written by the program always reads back
--   without nulls in the columns it did not set (units of a line entered without a quantity).
-- * Quantities, unit prices and amounts are REAL (decimals such as 0.5 m or 12.5 yen) and have no
--   default: a line saved without a quantity reads back with an empty quantity cell, not "0", and
--   the sums of the list output skip it.
-- * Yes/no columns are INTEGER 0/1, never null ("CH_HAISHI = FALSE" compares with 0).
-- * INT_NUMBER is an auto-number that is never given out twice, even after the highest row was
--   deleted (AUTOINCREMENT): a number the editor still holds can never point at another line.
-- The journal mode (WAL), synchronous=NORMAL and the busy timeout are set when the program
-- connects.

-- The header of a parts table: one row per drawing number, assembly and kind.
CREATE TABLE BUHINHYO (
    CH_DWGNO         TEXT COLLATE NOCASE NOT NULL,
    CH_ASSY          TEXT COLLATE NOCASE NOT NULL,
    CH_BUHIN         TEXT COLLATE NOCASE NOT NULL,
    CH_USER          TEXT COLLATE NOCASE DEFAULT '',
    CH_NAME          TEXT COLLATE NOCASE DEFAULT '',
    CH_HDATE         TEXT COLLATE NOCASE DEFAULT '',
    CH_DESINED       TEXT COLLATE NOCASE DEFAULT '',
    PRIMARY KEY (CH_DWGNO, CH_ASSY, CH_BUHIN)
);

-- The lines of the parts tables.
CREATE TABLE BUHINHYO_M (
    INT_NUMBER       INTEGER PRIMARY KEY AUTOINCREMENT,
    CH_ASSY          TEXT COLLATE NOCASE DEFAULT '',
    CH_DWGNO         TEXT COLLATE NOCASE DEFAULT '',
    CH_USER          TEXT COLLATE NOCASE DEFAULT '',
    CH_BUHIN         TEXT COLLATE NOCASE DEFAULT '',
    CH_ZNO           TEXT COLLATE NOCASE DEFAULT '',
    CH_HINMEI        TEXT COLLATE NOCASE DEFAULT '',
    CH_ZAISHITU      TEXT COLLATE NOCASE DEFAULT '',
    INT_SURYO        REAL,
    CH_TANI          TEXT COLLATE NOCASE DEFAULT '',
    INT_SURYO2       REAL,
    CH_TANI2         TEXT COLLATE NOCASE DEFAULT '',
    CH_BIKO          TEXT COLLATE NOCASE DEFAULT '',
    INT_TANKA        REAL,
    INT_KINGK        REAL,
    CH_MAKER         TEXT COLLATE NOCASE DEFAULT '',
    CH_HAISHI        INTEGER NOT NULL DEFAULT 0,
    CH_KAKKO         INTEGER NOT NULL DEFAULT 0,
    CH_UPDDATE       TEXT COLLATE NOCASE DEFAULT ''
);

-- Loading one table (editor and list output): the table's key, read in item-number order.
CREATE INDEX BUHINHYO_M_TABLE ON BUHINHYO_M (CH_DWGNO, CH_ASSY, CH_BUHIN, CH_ZNO);
-- The editor's name and material history: one kind, optionally one customer and one maker.
CREATE INDEX BUHINHYO_M_HINMEI ON BUHINHYO_M (CH_BUHIN, CH_USER, CH_MAKER, CH_HINMEI);
CREATE INDEX BUHINHYO_M_ZAISHITU ON BUHINHYO_M (CH_BUHIN, CH_USER, CH_MAKER, CH_ZAISHITU);

-- The output settings of one customer and kind of list.
CREATE TABLE SETTEI (
    CH_USER          TEXT COLLATE NOCASE NOT NULL,
    CH_BUHIN         TEXT COLLATE NOCASE NOT NULL,
    CH_ORGPATH       TEXT COLLATE NOCASE DEFAULT '',
    CH_ORGSHEET      TEXT COLLATE NOCASE DEFAULT '',
    CH_CPYPATH       TEXT COLLATE NOCASE DEFAULT '',
    CH_CPYSHEET      TEXT COLLATE NOCASE DEFAULT '',
    INT_PAGEMAX      INTEGER,
    CH_HMIDASHI_R    TEXT COLLATE NOCASE DEFAULT '',
    CH_HMIDASHI_C    TEXT COLLATE NOCASE DEFAULT '',
    CH_HMIDASHI      TEXT COLLATE NOCASE DEFAULT '',
    CH_HDWGNO_R      TEXT COLLATE NOCASE DEFAULT '',
    CH_HDWGNO_C      TEXT COLLATE NOCASE DEFAULT '',
    YN_HDWGNO        INTEGER NOT NULL DEFAULT 0,
    CH_HNAME_R       TEXT COLLATE NOCASE DEFAULT '',
    CH_HNAME_C       TEXT COLLATE NOCASE DEFAULT '',
    YN_HNAME         INTEGER NOT NULL DEFAULT 0,
    CH_HASSY_R       TEXT COLLATE NOCASE DEFAULT '',
    CH_HASSY_C       TEXT COLLATE NOCASE DEFAULT '',
    YN_HASSY         INTEGER NOT NULL DEFAULT 0,
    CH_HDATE_R       TEXT COLLATE NOCASE DEFAULT '',
    CH_HDATE_C       TEXT COLLATE NOCASE DEFAULT '',
    YN_HDATE         INTEGER NOT NULL DEFAULT 0,
    CH_HDESINED_R    TEXT COLLATE NOCASE DEFAULT '',
    CH_HDESINED_C    TEXT COLLATE NOCASE DEFAULT '',
    YN_HDESINED      INTEGER NOT NULL DEFAULT 0,
    CH_HSHEET_R      TEXT COLLATE NOCASE DEFAULT '',
    CH_HSHEET_C      TEXT COLLATE NOCASE DEFAULT '',
    YN_HSHEET        INTEGER NOT NULL DEFAULT 0,
    CH_MZUBAN_SR     TEXT COLLATE NOCASE DEFAULT '',
    CH_MZUBAN_SC     TEXT COLLATE NOCASE DEFAULT '',
    CH_MZUBAN_ER     TEXT COLLATE NOCASE DEFAULT '',
    CH_MZUBAN_EC     TEXT COLLATE NOCASE DEFAULT '',
    YN_MZUBAN        INTEGER NOT NULL DEFAULT 0,
    CH_MMZUBAN       TEXT COLLATE NOCASE DEFAULT '',
    CH_MHINMEI_SR    TEXT COLLATE NOCASE DEFAULT '',
    CH_MHINMEI_SC    TEXT COLLATE NOCASE DEFAULT '',
    CH_MHINMEI_ER    TEXT COLLATE NOCASE DEFAULT '',
    CH_MHINMEI_EC    TEXT COLLATE NOCASE DEFAULT '',
    YN_MHINMEI       INTEGER NOT NULL DEFAULT 0,
    CH_MMHINMEI      TEXT COLLATE NOCASE DEFAULT '',
    CH_MZAISHITU_SR  TEXT COLLATE NOCASE DEFAULT '',
    CH_MZAISHITU_SC  TEXT COLLATE NOCASE DEFAULT '',
    CH_MZAISHITU_ER  TEXT COLLATE NOCASE DEFAULT '',
    CH_MZAISHITU_EC  TEXT COLLATE NOCASE DEFAULT '',
    YN_MZAISHITU     INTEGER NOT NULL DEFAULT 0,
    CH_MMZAISHITU    TEXT COLLATE NOCASE DEFAULT '',
    CH_MBIKO_SR      TEXT COLLATE NOCASE DEFAULT '',
    CH_MBIKO_SC      TEXT COLLATE NOCASE DEFAULT '',
    CH_MBIKO_ER      TEXT COLLATE NOCASE DEFAULT '',
    CH_MBIKO_EC      TEXT COLLATE NOCASE DEFAULT '',
    YN_MBIKO         INTEGER NOT NULL DEFAULT 0,
    CH_MMBIKO        TEXT COLLATE NOCASE DEFAULT '',
    CH_MSURYO_SR     TEXT COLLATE NOCASE DEFAULT '',
    CH_MSURYO_SC     TEXT COLLATE NOCASE DEFAULT '',
    CH_MSURYO_ER     TEXT COLLATE NOCASE DEFAULT '',
    CH_MSURYO_EC     TEXT COLLATE NOCASE DEFAULT '',
    YN_MSURYO        INTEGER NOT NULL DEFAULT 0,
    CH_MMSURYO       TEXT COLLATE NOCASE DEFAULT '',
    CH_MTANKA_SR     TEXT COLLATE NOCASE DEFAULT '',
    CH_MTANKA_SC     TEXT COLLATE NOCASE DEFAULT '',
    CH_MTANKA_ER     TEXT COLLATE NOCASE DEFAULT '',
    CH_MTANKA_EC     TEXT COLLATE NOCASE DEFAULT '',
    YN_MTANKA        INTEGER NOT NULL DEFAULT 0,
    CH_MMTANKA       TEXT COLLATE NOCASE DEFAULT '',
    CH_MKING_SR      TEXT COLLATE NOCASE DEFAULT '',
    CH_MKING_SC      TEXT COLLATE NOCASE DEFAULT '',
    CH_MKING_ER      TEXT COLLATE NOCASE DEFAULT '',
    CH_MKING_EC      TEXT COLLATE NOCASE DEFAULT '',
    YN_MKING         INTEGER NOT NULL DEFAULT 0,
    CH_MMKING        TEXT COLLATE NOCASE DEFAULT '',
    CH_MMAKER_SR     TEXT COLLATE NOCASE DEFAULT '',
    CH_MMAKER_SC     TEXT COLLATE NOCASE DEFAULT '',
    CH_MMAKER_ER     TEXT COLLATE NOCASE DEFAULT '',
    CH_MMAKER_EC     TEXT COLLATE NOCASE DEFAULT '',
    YN_MMAKER        INTEGER NOT NULL DEFAULT 0,
    CH_MMMAKER       TEXT COLLATE NOCASE DEFAULT '',
    PRIMARY KEY (CH_USER, CH_BUHIN)
);
