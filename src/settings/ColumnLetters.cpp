#include "ColumnLetters.h"

#include <QHash>

QStringList GeneratedColumnNames()
{
    QStringList names;
    const QString firsts = QStringLiteral(" ABCDEFGHIJKLMNOPQRSTUVWXYZ");
    for (QChar first : firsts) {
        const QString prefix = first == u' ' ? QString() : QString(first);
        for (char16_t second = u'A'; second <= u'Z'; ++second) {
            const QString name = prefix + QChar(second);
            names << name;
            if (name == u"IV")
                return names;
        }
    }
    return names;
}

namespace
{
const QHash<QString, int>& columnIndex()
{
    static const QHash<QString, int> index = [] {
        QHash<QString, int> h;
        const QStringList names = GeneratedColumnNames();
        for (int i = 0; i < names.size(); ++i)
            h.insert(names.at(i), i + 1);
        return h;
    }();
    return index;
}
} // namespace

bool IsValidColumnLetter(const QString& text)
{
    return text.isEmpty() || columnIndex().contains(text);
}

int ColumnNumberOfName(const QString& text)
{
    return columnIndex().value(text, 0);
}

QStringList ColumnDropDownItems()
{
    QStringList items;
    for (char16_t c = u'A'; c <= u'Z'; ++c)
        items << QString(QChar(c));
    return items;
}

QStringList RowDropDownItems()
{
    QStringList items;
    for (int n = 2; n <= 100; ++n)
        items << QString::number(n);
    return items;
}
