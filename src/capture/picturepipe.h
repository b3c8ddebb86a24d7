#pragma once
// The reading end of what the compositor sends: three 32-bit integers without padding (width,
// height, a QImage::Format value) and the pixels' bytes. Thread: any; it blocks, five seconds at
// most until the first byte and then for as long as the writer keeps the pipe open.

#include <QImage>

namespace PicturePipe
{
/// The picture that comes through @p fd. Null, with a warning, where nothing comes, too little
/// comes, or what no image can be.
QImage read(int fd);
} // namespace PicturePipe
