#pragma once
// Downloads a file from its address and continues what an earlier attempt left. Owned by
// ModelInstaller; main thread.

#include "controlcenter/modelsource.h"

#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <memory>

class AddressSource : public ModelSource
{
    Q_OBJECT

public:
    /// Gives up after @p patience milliseconds without a byte.
    explicit AddressSource(int patience = 30000) : m_patience(patience) {}
    ~AddressSource() override;

    void fetch(const ModelPackage &package, const QString &file) override;
    void cancel() override;

private:
    struct ReplyDeleter {
        void operator()(QNetworkReply *reply) const { reply->deleteLater(); }
    };

    void onHeaders();
    void onData();
    void onEnded();
    InstallResult outcome() const;

    int m_patience;
    QNetworkAccessManager m_network;
    std::unique_ptr<QNetworkReply, ReplyDeleter> m_reply; // null: no download under way
    ModelPackage m_package;
    QFile m_file;
    qint64 m_expected = 0;  // size of the whole as the server tells it; 0: it does not
    InstallResult m_broken; // why this side broke off; Done if it did not
};
