#include "cli/console.h"

#include <QJsonDocument>

#include <cstdio>

namespace
{
void write(const QByteArray &bytes, FILE *file = stdout)
{
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), file);
}
} // namespace

void Console::line(const QString &text)
{
    if (!m_isJson) {
        write(text.toUtf8() + '\n');
    }
}

void Console::document(const QJsonObject &object)
{
    if (m_isJson) {
        write(QJsonDocument(object).toJson());
    }
}

void Console::beginList()
{
    m_hasElements = false;
    if (m_isJson) {
        write("[");
    }
}

void Console::element(const QJsonObject &object)
{
    if (m_isJson) {
        write(m_hasElements ? ",\n" : "\n");
        write(QJsonDocument(object).toJson(QJsonDocument::Compact));
        m_hasElements = true;
    }
}

void Console::endList()
{
    if (m_isJson) {
        write(m_hasElements ? "\n]\n" : "]\n");
    }
}

bool Console::isDelivered()
{
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

void Console::fault(const QString &text)
{
    std::fflush(stdout); // in the order in which they were said, where both go to one place
    write("yestermarkctl: " + printable(text).toUtf8() + '\n', stderr);
}

QString Console::printable(QString text)
{
    for (QChar &character : text) {
        const QChar::Category category = character.category();
        if (category == QChar::Other_Control || category == QChar::Other_Format ||
            category == QChar::Separator_Line || category == QChar::Separator_Paragraph) {
            character = QLatin1Char(' ');
        }
    }
    return text;
}
