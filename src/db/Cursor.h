#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <memory>

class Database;

// A forward-only read of one statement's result on a connection: the column names and types, then
// the rows one by one. On the local file it reads through Qt's SQLite driver. On a data source it
// calls ODBC on the connection's own handle: the columns are described by name and type only, so
// the driver never asks the server's catalogue about them, and one statement handle of the
// connection serves every read (a save reads one line 200 times).
//
// Types are the metatype ids Qt's drivers give: text QString, whole numbers Int (yes/no bits
// UInt), DOUBLE and NUMERIC Double. A null reads as a null QVariant of its column's type.
class Cursor
{
public:
    // Runs the statement; a failure throws the database's error with the statement.
    Cursor(Database& db, const QString& statement);
    ~Cursor();
    Cursor(const Cursor&) = delete;
    Cursor& operator=(const Cursor&) = delete;

    // False for a statement without a result (UPDATE, DELETE, ...).
    bool isSelect() const;
    const QStringList& names() const;
    const QList<int>& types() const;
    int indexOf(const QString& name) const; // -1 when the result has no such column

    // Moves to the next row; false after the last. A failing fetch throws.
    bool next();
    const QVariant& value(int column) const;
    const QList<QVariant>& row() const;

    struct Impl;

private:
    std::unique_ptr<Impl> d;
};
