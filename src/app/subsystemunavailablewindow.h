#pragma once
// Tells at the program's start that the AI runtime is missing and leads to its installation.
// Owner: main, on its stack. Thread: main.

#include <QMessageBox>

class SubsystemUnavailableWindow : public QMessageBox
{
    Q_OBJECT

public:
    explicit SubsystemUnavailableWindow(QWidget *parent = nullptr);

    /// Opens the desktop's page that installs the AI runtime, in a process of its own.
    void openSubsystemInstallPage();
};
