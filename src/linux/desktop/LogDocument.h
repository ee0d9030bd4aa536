// The text of the log as a document that Qt can lay out a little at a time. Main thread only.
#pragma once

#include <QString>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <cstdint>
#include <string_view>

namespace orvane {

/// A block of a text document is laid out as a whole whenever it changes, so that a line without an end would
/// cost more with each character. Here a long line lies in several blocks, its pieces; what is read from the
/// document has no trace of them.
class LogDocument {
  public:
    static constexpr qsizetype maxPiece = 1000;  ///< In UTF-16 units.

    /// `document` outlives this and is changed by nobody else.
    explicit LogDocument(QTextDocument& document) : document_(document) {}

    /// Adds UTF-8 text, cut anywhere between code points.
    void append(std::string_view text);
    /// Removes that many bytes of the UTF-8 text from the beginning.
    void dropBeginning(std::uint64_t bytes);
    void clear();

    /// The whole text; every kind of line end is a line feed.
    QString text() const;
    /// Places in `text()` and in the document.
    qsizetype textPlace(int documentPlace) const;
    int documentPlace(qsizetype textPlace) const;

  private:
    void appendLine(QTextCursor& end, QStringView line);
    static void endBlock(QTextCursor& end, int bytes);

    QTextDocument& document_;
    bool endsWithReturn_ = false;
};

}  // namespace orvane
