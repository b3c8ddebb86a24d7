#include "picturememory/packedpicture.h"

#include "picturememory/packedpixels.h"
#include "picturememory/pixelpages.h"

#include <new>

namespace
{
constexpr int packedDepth = 32;

/// What a packed picture leaves behind it; owned by its QImage.
struct Lease {
    std::shared_ptr<PixelPages> pages; // they outlive every picture
    uchar *pixels;
};

void release(void *info)
{
    const std::unique_ptr<Lease> lease(static_cast<Lease *>(info));
    lease->pages->remove(lease->pixels);
}

QImage pictureOver(std::unique_ptr<Lease> lease, const QImage &model)
{
    uchar *pixels = lease->pixels;
    QImage packed(pixels, model.width(), model.height(), model.bytesPerLine(), model.format(),
                  release, lease.get());
    if (packed.isNull()) {
        release(lease.release());
        return model;
    }
    static_cast<void>(lease.release()); // the picture's from here on
    packed.setDevicePixelRatio(model.devicePixelRatio());
    return packed;
}
} // namespace

QImage packedPicture(const QImage &picture, const std::shared_ptr<PixelPages> &pages)
{
    if (picture.isNull() || picture.depth() != packedDepth || !pages->isServed()) {
        return picture;
    }
    try {
        std::optional<PackedPixels> pixels =
            PackedPixels::of(picture.constBits(), static_cast<size_t>(picture.sizeInBytes()));
        auto lease = std::make_unique<Lease>(Lease{pages, nullptr});
        lease->pixels = pixels ? pages->add(std::move(*pixels)) : nullptr;
        return lease->pixels ? pictureOver(std::move(lease), picture) : picture;
    } catch (const std::bad_alloc &) {
        return picture;
    }
}

QImage packedPicture(const QImage &picture)
{
    return packedPicture(picture, PixelPages::ofProcess());
}

bool isPacked(const QImage &picture)
{
    return PixelPages::ofProcess()->holds(picture.constBits());
}

QImage plainPicture(const QImage &picture)
{
    return isPacked(picture) ? picture.copy() : picture;
}
