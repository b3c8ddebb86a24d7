#pragma once
// The calls that pages made, in order, as texts such as "startMemory()". Owner: the fixture; the
// doubles of the context objects hold a reference. Thread: main.

#include <QStringList>
#include <QVariant>

class CallRecord
{
public:
    void add(const QString &name, const QVariantList &arguments = QVariantList())
    {
        QStringList texts;
        for (const QVariant &argument : arguments) {
            texts.append(argument.toString());
        }
        m_calls.append(name + QLatin1Char('(') + texts.join(QLatin1String(", ")) +
                       QLatin1Char(')'));
    }

    /// What was called since the last time.
    QStringList take()
    {
        QStringList calls;
        calls.swap(m_calls);
        return calls;
    }

    QStringList calls() const { return m_calls; }

private:
    QStringList m_calls;
};
