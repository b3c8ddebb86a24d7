// Which part of a box of text a drag marks. Boxes are {x, y, width, height}, points {x, y}; a drag is
// {press, current, doubleClick, all}. The swept rows and columns are those between press and current.
.pragma library

function holds(box, point) {
    return point.x >= box.x && point.x <= box.x + box.width && holdsRow(box, point.y)
}

function holdsRow(box, y) {
    return y >= box.y && y <= box.y + box.height
}

function firstRow(drag) {
    return Math.min(drag.press.y, drag.current.y)
}

function lastRow(drag) {
    return Math.max(drag.press.y, drag.current.y)
}

function rowsCover(box, drag) {
    return firstRow(drag) <= box.y && lastRow(drag) >= box.y + box.height
}

function columnsCover(box, drag) {
    return Math.min(drag.press.x, drag.current.x) <= box.x
        && Math.max(drag.press.x, drag.current.x) >= box.x + box.width
}

function isDoubleClicked(box, drag) {
    return drag.doubleClick.x >= 0 && holds(box, drag.doubleClick)
}

/// Whether anything of the box can be marked.
function isMarked(box, drag) {
    if (drag.all || isDoubleClicked(box, drag) || holds(box, drag.press)
            || holds(box, drag.current) || rowsCover(box, drag))
        return true
    var first = holdsRow(box, firstRow(drag))
    var last = holdsRow(box, lastRow(drag))
    if (first && last)
        return columnsCover(box, drag)
    return first && lastRow(drag) > box.y + box.height || last && firstRow(drag) < box.y
}

function span(from, to) {
    return { x: from, width: Math.max(0, to - from) }
}

function wholeIfCovered(box, drag) {
    var within = rowsCover(box, drag) && drag.press.x !== drag.current.x
    var atEdge = (holdsRow(box, firstRow(drag)) || holdsRow(box, lastRow(drag)))
            && columnsCover(box, drag)
    return span(0, within || atEdge ? box.width : 0)
}

// The drag ends in the box. Where it began above or below it, the text runs on as between lines.
function spanToCurrent(box, drag) {
    var current = drag.current.x - box.x
    if (drag.press.x < box.x)
        return span(0, current)
    if (drag.press.x > box.x + box.width)
        return span(current, box.width)
    return drag.press.y < drag.current.y ? span(0, current) : span(current, box.width)
}

function spanFromPress(box, drag) {
    var press = drag.press.x - box.x
    return drag.current.y > drag.press.y ? span(press, box.width) : span(0, press)
}

/// The marked part, from the left edge of the box: {x, width}; of use only where isMarked.
function markedSpan(box, drag) {
    if (drag.all || isDoubleClicked(box, drag))
        return span(0, box.width)
    var pressed = holds(box, drag.press)
    var current = holds(box, drag.current)
    if (pressed && current) {
        var left = Math.min(drag.press.x, drag.current.x) - box.x
        return span(left, Math.min(left + Math.abs(drag.press.x - drag.current.x), box.width))
    }
    if (pressed)
        return spanFromPress(box, drag)
    if (current)
        return spanToCurrent(box, drag)
    return wholeIfCovered(box, drag)
}
