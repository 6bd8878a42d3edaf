#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QVariant>
#include <memory>

class Recordset;

// One open connection to the configured database (Qt SQL: QSQLITE for the local file, QODBC for a
// data source). Failing statements throw RuntimeError with the database's description and number.
class Database
{
public:
    // Opens a connection of its own name on an already configured QSqlDatabase.
    explicit Database(QSqlDatabase db);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    QSqlDatabase& sql() { return m_db; }
    bool isSqlite() const;

    // Runs a statement directly on the connection (DELETE, UPDATE, ...). Jet forms such as
    // "DELETE * FROM" are translated first.
    void Execute(const QString& sql);
    void BeginTrans();
    void CommitTrans();
    void RollbackTrans();

private:
    QSqlDatabase m_db;
    QString m_name;
};

// The record set of one SELECT: a static snapshot with a current row, fields by name, and
// add-new / field assignment / update / delete written back by the table's key.
class Recordset
{
public:
    Recordset(Database& db, const QString& sql);
    ~Recordset();

    int RecordCount() const;
    bool Eof() const;
    void MoveFirst();
    void MoveNext();

    // The field of the current row as text; a null (or a missing current row) reads as "".
    QString Field(const QString& name) const;
    QVariant Value(const QString& name) const;
    bool IsNull(const QString& name) const;
    bool Bool(const QString& name) const; // yes/no columns: any non-zero is true

    void AddNew();
    void SetField(const QString& name, const QVariant& value);
    void Update();
    void Delete();
    void Close();

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

// Opens a record set on the connection, replacing what the caller's variable held.
void OpenRecordset(Database& connection, std::unique_ptr<Recordset>& rs, const QString& sql);
