#pragma once
// How other programs of this kind search the texts of frames: a full-text index of trigrams, and a
// loop over the stored texts in Python. Owner: the measurement. Thread: one.

#include <QStringList>

#include <memory>
#include <vector>

struct sqlite3;

/// SQLite's FTS5 with trigrams over the month files, built once.
class TrigramSearch
{
public:
    /// Reads every month file of @p directory into an index at @p file. Ends the program if SQLite
    /// cannot.
    TrigramSearch(const QString &directory, const QString &file);
    ~TrigramSearch();
    Q_DISABLE_COPY_MOVE(TrigramSearch)

    /// How many frames contain @p text, each with its whole row read. -1 for a text of fewer than
    /// three characters, which trigrams cannot find.
    int run(const QString &text) const;

    double indexMebibytes() const;

private:
    struct Closer {
        void operator()(sqlite3 *handle) const;
    };
    using Handle = std::unique_ptr<sqlite3, Closer>;

    static Handle open(const QString &file);
    void addMonth(const QString &file, int month);

    QString m_file;
    Handle m_index;
    std::vector<Handle> m_months;
};

namespace PythonSearch
{
struct Result {
    int hits = 0;
    double milliseconds = 0.0; ///< of the loop alone, without the interpreter's start
};

/// Asks for "text in ocr_text.lower()" of every row of every month file of @p directory; the best
/// of @p rounds. Ends the program without python3.
Result run(const QString &directory, const QString &text, int rounds);
} // namespace PythonSearch
