#include "window/screenwatch.h"

#include <QSet>

#include <cstdlib>
#include <cstring>

#include <xcb/xcb.h>

namespace
{
constexpr int rowsLookedAt = 4;
constexpr int coloursOfAPage = 24;
constexpr int edgesOfAText = 60;
constexpr int textRows = 60;   // as high as a gap between two paragraphs and a line
constexpr int textRowStep = 5; // less than a letter's height
constexpr quint32 colourBits = 0x00ffffff;

struct Freer {
    void operator()(void *memory) const { std::free(memory); }
};
using ImagePtr = std::unique_ptr<xcb_get_image_reply_t, Freer>;

int distance(quint32 one, quint32 other)
{
    int sum = 0;
    for (int shift = 0; shift < 24; shift += 8) {
        sum += std::abs(int(one >> shift & 0xff) - int(other >> shift & 0xff));
    }
    return sum;
}
// In its middle half.
bool hasText(const QVector<quint32> &pixels)
{
    int edges = 0;
    for (int pixel = pixels.size() / 4 + 1; pixel < pixels.size() * 3 / 4; ++pixel) {
        edges += distance(pixels.at(pixel), pixels.at(pixel - 1)) > 48 ? 1 : 0;
    }
    return edges >= edgesOfAText;
}
} // namespace

void ScreenWatch::Closer::operator()(xcb_connection_t *connection) const
{
    xcb_disconnect(connection);
}

ScreenWatch::ScreenWatch() : m_connection(xcb_connect(nullptr, nullptr))
{
    if (xcb_connection_has_error(m_connection.get()) != 0) {
        qFatal("there is no screen to look at");
    }
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data;
    m_root = screen->root;
    m_width = screen->width_in_pixels;
    m_height = screen->height_in_pixels;
    m_before = rows();
}

ScreenWatch::~ScreenWatch() = default;

QVector<quint32> ScreenWatch::row(int y) const
{
    const ImagePtr image(
        xcb_get_image_reply(m_connection.get(),
                            xcb_get_image(m_connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_root, 0,
                                          int16_t(y), uint16_t(m_width), 1, ~0U),
                            nullptr));
    QVector<quint32> pixels(m_width);
    if (!image || xcb_get_image_data_length(image.get()) != m_width * int(sizeof(quint32))) {
        qFatal("the screen cannot be read");
    }
    std::memcpy(pixels.data(), xcb_get_image_data(image.get()), pixels.size() * sizeof(quint32));
    return pixels;
}

QVector<quint32> ScreenWatch::rows() const
{
    QVector<quint32> pixels;
    for (int number = 0; number < rowsLookedAt; ++number) {
        pixels += row((2 * number + 1) * m_height / (2 * rowsLookedAt));
    }
    return pixels;
}

bool ScreenWatch::isPainted() const
{
    const QVector<quint32> now = rows();
    int same = 0;
    QSet<quint32> colours;
    for (int pixel = 0; pixel < now.size(); ++pixel) {
        same += now.at(pixel) == m_before.at(pixel) ? 1 : 0;
        colours.insert(now.at(pixel) & colourBits);
    }
    return same < now.size() / 20 && colours.size() >= coloursOfAPage;
}

bool ScreenWatch::hasPicture() const
{
    for (int y = 0; y < textRows; y += textRowStep) {
        if (hasText(row(m_height / 2 + y))) {
            return true;
        }
    }
    return false;
}
