#pragma once
// What a command says: text for people or JSON for programs on the standard output, faults on the
// standard error. UTF-8 whatever the locale is. Owner: main, on its stack. Main thread.

#include <QJsonObject>
#include <QString>

class Console
{
public:
    bool isJson() const { return m_isJson; }
    void setJson(bool isJson) { m_isJson = isJson; }

    /// A line of text; nothing where JSON is wanted.
    void line(const QString &text);

    /// One JSON document; nothing where text is wanted.
    void document(const QJsonObject &object);

    /// A JSON array whose elements come one by one, so that a long one takes no memory. Nothing
    /// where text is wanted.
    void beginList();
    void element(const QJsonObject &object);
    void endList();

    /// Whether all that was said on the standard output has got out; it may lead into a file.
    static bool isDelivered();

    /// A fault, on the standard error in either mode.
    void fault(const QString &text);

    /// @p text for a terminal: what would move its cursor or change its state is a blank.
    static QString printable(QString text);

private:
    bool m_isJson = false;
    bool m_hasElements = false;
};
