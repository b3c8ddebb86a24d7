#include "qml/selectionmodel.h"

#include <algorithm>
#include <cmath>

namespace
{
// Where a number stands to an interval with both its ends.
enum class Side { Before, Inside, After };

Side sideOf(double value, double from, double to)
{
    if (value < from) {
        return Side::Before;
    }
    return value > to ? Side::After : Side::Inside;
}

struct Place {
    Side across;
    Side down;
    bool inside() const { return across == Side::Inside && down == Side::Inside; }
};

Place placeOf(const QPointF &point, const QRectF &box)
{
    return {sideOf(point.x(), box.left(), box.right()), sideOf(point.y(), box.top(), box.bottom())};
}

bool sweeps(double one, double other, double from, double to)
{
    return std::min(one, other) <= from && std::max(one, other) >= to;
}

/// The page's first and last row of the drag lie in the box, above it, below it.
bool isShown(const QRectF &box, const SelectionDrag &drag, bool doubleClicked)
{
    const Place press = placeOf(drag.press, box);
    const Place current = placeOf(drag.current, box);
    if (drag.all || doubleClicked || press.inside() || current.inside()) {
        return true;
    }
    if (sweeps(drag.press.y(), drag.current.y(), box.top(), box.bottom())) {
        return true;
    }
    if (press.down == Side::Inside && current.down == Side::Inside) {
        return sweeps(drag.press.x(), drag.current.x(), box.left(), box.right());
    }
    // One of them in the box, the other in no row of it: the drag begins or ends here.
    return press.down == Side::Inside || current.down == Side::Inside;
}

SelectionPart partWithOneEnd(const QRectF &box, const SelectionDrag &drag, bool pressInside)
{
    const bool down = drag.current.y() > drag.press.y();
    if (pressInside) {
        const double at = drag.press.x() - box.left();
        return down ? SelectionPart{true, at, box.width()} : SelectionPart{true, 0, at};
    }
    const double at = drag.current.x() - box.left();
    bool fromLeft = down;
    switch (placeOf(drag.press, box).across) {
    case Side::Before:
        fromLeft = true;
        break;
    case Side::After:
        fromLeft = false;
        break;
    case Side::Inside:
        break;
    }
    return fromLeft ? SelectionPart{true, 0, at} : SelectionPart{true, at, box.width()};
}
} // namespace

SelectionPart selectionPart(const QRectF &box, const SelectionDrag &drag)
{
    const bool doubleClicked = drag.doubleClick.x() >= 0 && placeOf(drag.doubleClick, box).inside();
    if (!isShown(box, drag, doubleClicked)) {
        return {};
    }
    if (drag.all || doubleClicked) {
        return {true, 0, box.width()};
    }
    const Place press = placeOf(drag.press, box);
    const Place current = placeOf(drag.current, box);
    if (press.inside() && current.inside()) {
        const double one = drag.press.x() - box.left();
        const double other = drag.current.x() - box.left();
        return {true, std::min(one, other), std::max(one, other)};
    }
    if (press.inside() != current.inside()) {
        return partWithOneEnd(box, drag, press.inside());
    }
    const bool rows = sweeps(drag.press.y(), drag.current.y(), box.top(), box.bottom());
    const bool columns = sweeps(drag.press.x(), drag.current.x(), box.left(), box.right());
    const bool edgeRow = press.down == Side::Inside || current.down == Side::Inside;
    const bool moved = drag.press.x() < drag.current.x() || drag.press.x() > drag.current.x();
    const bool whole = (rows && moved) || (edgeRow && columns);
    return {true, 0, whole ? box.width() : 0};
}

QString lettersBetween(const QString &text, double width, const SelectionPart &part)
{
    const auto letter = [&](double at) { return int(std::floor(at / width * text.size() + 0.5)); };
    return part.shown ? text.mid(letter(part.from), letter(part.to) - letter(part.from))
                      : QString();
}
