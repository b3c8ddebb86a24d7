#pragma once
// Write-only image handler for PNG. One image each; owned by the QImageWriter that asked for it,
// used on that writer's thread.

#include <QImageIOHandler>
#include <QString>

class PngHandler : public QImageIOHandler
{
public:
    bool canRead() const override { return false; }
    bool read(QImage *image) override;

    /// Writes @p image to the device. False for an image that PNG cannot hold and for any write
    /// that failed, also one that only showed when a file's buffer was flushed.
    bool write(const QImage &image) override;

    /// Description and gamma. Quality and compression are not options here: the one setting is
    /// lossless, and both smaller and faster than most of what they would choose from.
    bool supportsOption(ImageOption option) const override;
    QVariant option(ImageOption option) const override;
    void setOption(ImageOption option, const QVariant &value) override;

private:
    QString m_description;
    float m_gamma = 0.0F; ///< display gamma of QImageWriter::setGamma, 0 for none
};
