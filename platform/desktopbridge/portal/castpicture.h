#pragma once
// The picture of all monitors of one screen cast, put together from its streams. Owned by
// PortalCast, a new one for each session; main thread.

#include "desktopbridge/picture.h"
#include "desktopbridge/pipewire/pipewirestream.h"
#include "desktopbridge/portal/caststream.h"

#include <vector>

class CastPicture : public QObject
{
    Q_OBJECT

public:
    /// Reads @p streams through PipeWire's @p connection. Null on failure, with the reason in
    /// @p problem.
    static std::unique_ptr<CastPicture> read(FileDescriptor connection,
                                             const QVector<CastStream> &streams, QString &problem);
    ~CastPicture() override;

    /// True while each monitor that is left gives its picture. A picture with a hole is no picture.
    bool isLive() const { return !m_screens.isEmpty(); }

    /// True once no monitor is left.
    bool hasEnded() const { return m_monitors.empty(); }

    /// True if PipeWire itself has gone.
    bool isCutOff() const { return m_remote->isLost(); }

    /// Puts the monitors into the order of @p logicalPlaces, the compositor's own; the others
    /// behind them, from the left top to the right bottom.
    void setOrder(const QVector<QRect> &logicalPlaces);

    /// In device pixels; empty while not live.
    const QVector<QRect> &screens() const { return m_screens; }
    int tileEdge() const { return m_tileEdge; }

    /// Null while not live, or if @p area is not wholly on the virtual screen. What belongs to no
    /// monitor is black.
    PicturePtr fetch(const QRect &area) const;

    QVector<QRect> takeDamage();

Q_SIGNALS:
    void damaged();
    void layoutChanged(); ///< also when it begins or ceases to be live
    void ended();         ///< no monitor is left, or PipeWire has gone

private:
    struct Monitor;

    explicit CastPicture(std::unique_ptr<PipeWireRemote> remote);

    void add(const CastStream &stream);
    void onStreamEnded();
    void layOut();
    QVector<QRect> place();
    void arrange(QVector<const Monitor *> &monitors) const;

    std::unique_ptr<PipeWireRemote> m_remote; // outlives the streams
    std::vector<std::unique_ptr<Monitor>> m_monitors;
    QVector<QRect> m_order;
    QVector<QRect> m_screens;
    int m_tileEdge = 16;
    bool m_damageTold = false;
};
