#include "searchfixture.h"

#include <utility>

using DataHandlerDouble::state;

namespace SearchWorld
{
namespace
{
constexpr int modelDataRole = 257;
}

QVector<ScreenShotData> hits(int count, const QString &video)
{
    QVector<ScreenShotData> found;
    for (int place = 1; place <= count; ++place) {
        ScreenShotData hit;
        hit.videoName = video;
        hit.frameIndexOfVideo = static_cast<quint32>(place);
        hit.frameIndexOfDay = static_cast<quint32>(place);
        hit.date = "2023-11-15";
        hit.realTime = firstTime + place;
        hit.desktopFilePath = "/none.desktop";
        found.append(hit);
    }
    return found;
}

QImage pictureOf(unsigned int frame)
{
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(frame);
    return image;
}

int numberOf(const QImage &image)
{
    return image.isNull() ? -1 : static_cast<int>(image.pixel(0, 0) & 0xFFFFFFU);
}

VideoPreviewItem *itemOf(QAbstractListModel *model, int row)
{
    return model->data(model->index(row, 0), modelDataRole).value<VideoPreviewItem *>();
}

QStringList sourcesOf(QAbstractListModel *model)
{
    QStringList sources;
    for (int row = 0; row < model->rowCount(); ++row) {
        sources << itemOf(model, row)->videoPreviewImageSource();
    }
    return sources;
}

QStringList sources(const QString &kind, int first, int last, const QString &generation)
{
    QStringList list;
    for (int place = first; place <= last; ++place) {
        list << "videoImageProvider/" + kind + QString::number(place) + generation;
    }
    return list;
}

void Notes::add(const QString &note)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_notes << note;
}

QStringList Notes::take()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_notes, {});
}

int Notes::count(const QString &note) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_notes.count(note);
}
} // namespace SearchWorld

void SearchFixture::init()
{
    using namespace SearchWorld;
    DataHandlerDouble::reset();
    state().days["2023-11-15"] = {{"/none.desktop", 1000}};
    state().searchTexts = [](const SearchQuery &) { return hits(40); };
    state().searchPictures = [](const SearchQuery &) { return hits(50); };
    state().decode = [](const QString &, unsigned int frame) { return pictureOf(frame); };
    m_facade = std::make_unique<Facade>();
}

void SearchFixture::cleanup()
{
    m_facade.reset();
    DataHandlerDouble::reset();
}
