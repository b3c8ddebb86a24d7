#pragma once
// The outputs of a Wayland session and where they lie. Owned by a backend; main thread. Nothing is
// asked after the start: the compositor tells each change.

#include "desktopbridge/wayland/outputlayout.h"
#include "desktopbridge/wayland/waylandconnection.h"

#include <vector>
#include <xdg-output-unstable-v1-client-protocol.h>

struct XdgOutputDelete {
    void operator()(zxdg_output_manager_v1 *manager) const
    {
        zxdg_output_manager_v1_destroy(manager);
    }
    void operator()(zxdg_output_v1 *output) const { zxdg_output_v1_destroy(output); }
};

struct WaylandOutput {
    quint32 global = 0;         ///< number of its global, never used again
    wl_output *proxy = nullptr; ///< valid until WaylandOutputs::changed() tells that it has gone
    QString name;               ///< such as "DP-1"; empty with old compositors
    OutputTransform transform = OutputTransform::Normal;
    OutputGeometry geometry;
    QRect screen; ///< in device pixels of the virtual screen

    bool operator==(const WaylandOutput &other) const
    {
        return global == other.global && name == other.name && transform == other.transform &&
               geometry == other.geometry && screen == other.screen;
    }
};

class WaylandOutputs : public QObject
{
    Q_OBJECT

public:
    /// The outputs are known when this returns. Answers without outputs where the compositor does
    /// not answer.
    explicit WaylandOutputs(std::shared_ptr<WaylandConnection> connection);
    ~WaylandOutputs() override;

    /// In the order in which the compositor announced them, which is the order in which Qt lists
    /// its screens; Qt takes the first one for the primary screen. Outputs without a picture, such
    /// as one that is being set up, are left out.
    const QVector<WaylandOutput> &outputs() const { return m_outputs; }

    QVector<QRect> screens() const;
    QRect virtualScreen() const;

    /// Edge of a comparison tile on the first output; 16 without any.
    int tileEdge() const;

Q_SIGNALS:
    void changed(); ///< from the event loop, once for all that came together

private:
    class Entry;

    void add(const WaylandGlobal &global);
    void remove(quint32 name);
    void updateLater();
    void update();
    QVector<WaylandOutput> readyOutputs() const;

    std::shared_ptr<WaylandConnection> m_connection;
    std::unique_ptr<zxdg_output_manager_v1, XdgOutputDelete> m_xdgManager;
    std::vector<std::unique_ptr<Entry>> m_entries;
    QVector<WaylandOutput> m_outputs;
    bool m_updateComes = false;
};
