#pragma once
// Pictures that wait for their video. One of 1920x1080 takes 8.3 MB, a batch has a hundred of them;
// packed, a screen takes 0.3 MB on average and 2 MB with a photograph on it, and nobody who reads
// the pixels sees a difference. Owner of the pixels: the QImage and its copies. Any thread.

#include <QImage>

#include <memory>

class PixelPages;

/// @p picture with its pixels in packed form: they come back by themselves where they are read, and
/// go again. Size, format and device pixel ratio stay, every pixel is equal. It is for reading: a
/// copy that is changed while another stands gets pixels of its own, as ever, but the last one must
/// not be changed or painted on.
///
/// Its pixels must not be handed to a system call (write(), send()), which would fail with EFAULT.
/// For that and for changing it QImage::copy() makes a plain picture of it.
///
/// Gives @p picture itself back if it has not 32 bits a pixel, and where the kernel cannot serve
/// @p pages or memory is short.
QImage packedPicture(const QImage &picture, const std::shared_ptr<PixelPages> &pages);

/// The same with the pages of this process.
QImage packedPicture(const QImage &picture);

/// Whether @p picture is one of those.
bool isPacked(const QImage &picture);

/// For whoever may do with the pixels what a packed picture does not allow: a plain copy of one,
/// any other picture itself.
QImage plainPicture(const QImage &picture);
