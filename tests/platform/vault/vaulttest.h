#pragma once
// Base of the tests with real boxes: each test function gets a home and a Secret Service of its
// own, and every box that it opened is closed at its end. Skips where the machine cannot do it.
// Thread: main.

#include "keyring.h"

#include <QMap>
#include <QObject>
#include <QTemporaryDir>

#include <memory>

class VaultTest : public QObject
{
    Q_OBJECT

protected:
    struct Run {
        int status;
        QString errors; ///< what it wrote to standard error
    };

    static const QString BOX;

    Run vaultsm(const QStringList &arguments) const;
    /// The same, with @p variables in place of this process's.
    Run vaultsm(const QStringList &arguments, const QMap<QString, QString> &variables) const;
    static Run run(const QString &program, const QStringList &arguments,
                   const QMap<QString, QString> &variables = {});

    QString home() const { return m_home->path(); }
    QString ciphertext() const;
    QString mountPoint() const;

    /// Every file below @p folder with its content, every folder with an empty one; the Secret
    /// Service's own files and the lock are left out.
    static QMap<QString, QByteArray> filesBelow(const QString &folder);
    static bool write(const QString &path, const QByteArray &content);
    static QByteArray read(const QString &path);
    static int modeOf(const QString &path);

    /// Process ids of those who serve the box of this home.
    QList<qint64> servers() const;
    bool killServer() const;

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<Keyring> m_keyring;

protected Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
};
