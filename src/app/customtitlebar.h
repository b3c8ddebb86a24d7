#pragma once
// The window's buttons and what closing means, for the pages, which know it as "CustomTitleBar".
// Owner: the backend, as parent. Thread: main.

#include <QObject>
#include <QString>

class QQuickView;

class CustomTitleBar : public QObject
{
    Q_OBJECT

public:
    /// @p closeWindowOption is "minimize" or "exit"; @p view outlives this object.
    CustomTitleBar(QQuickView *view, const QString &closeWindowOption, QObject *parent);

    Q_INVOKABLE void minimizeTheWindow();
    /// The program stays in the tray.
    Q_INVOKABLE void hideTheWindow();
    /// Ends the program.
    Q_INVOKABLE void closeTheWindow();
    Q_INVOKABLE bool windowVisible();
    Q_INVOKABLE void setCloseWindowOption(bool isCloseWindowMinimize);
    Q_INVOKABLE bool isCloseWindowMinimize();

    /// Takes over what the settings hold, as does the constructor.
    void updateCloseWindowOption(const QString &option);

Q_SIGNALS:
    void programExit();
    void closeWindowOptionChanged(QString closeWindowOption);

private:
    QQuickView *m_view;
    QString m_closeWindowOption;
    QString m_minimizeOption;
    QString m_exitOption;
};
