#pragma once
// Screens of every kind of text, drawn anew for each run so that their words are known. Need a
// QGuiApplication for their fonts.

#include <QImage>
#include <QString>

#include <vector>

namespace TextPages
{
struct Page {
    QString name;
    QImage picture; ///< Format_RGB32
    QString text;   ///< what stands on it, words parted by white space
};

/// An editor, light or dark, full of code in monospaced type, scrolled to @p firstLine, with a few
/// characters more at the end of @p typedLine.
Page editor(const QSize &size, bool dark, int firstLine = 100, int typedLine = -1);
/// Paragraphs in proportional type that fill the screen; @p pixelSize 10 is small print.
Page document(const QSize &size, int pixelSize);
/// Messages, Chinese and English by turns.
Page chat(const QSize &size);
/// A spreadsheet with borders.
Page table(const QSize &size);

/// One of each.
std::vector<Page> all(const QSize &size);

/// A picture without text that fills the screen: hills, grass, blur and noise.
QImage photograph(const QSize &size);
} // namespace TextPages
