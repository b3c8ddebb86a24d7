#pragma once
// Entry of the QML module "org.vesk.qqc2style.private"; owned by the QML engine, main thread.

#include <QQmlExtensionPlugin>

class StylePlugin : public QQmlExtensionPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QQmlExtensionInterface_iid)

public:
    /// Registers the singleton StyleHelper and the type TavelIcon, version 1.0.
    void registerTypes(const char *uri) override;
};
