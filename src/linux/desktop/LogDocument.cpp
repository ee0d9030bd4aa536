#include "linux/desktop/LogDocument.h"

#include <algorithm>

namespace orvane {

namespace {

/// How many bytes end the block's line in UTF-8 is kept as the block's user state. Nothing: it is a piece.
constexpr int pieceEnd = 0;

bool isPiece(const QTextBlock& block) {
    return block.userState() == pieceEnd;
}

int unitsOf(const QTextBlock& block) {
    return block.length() - 1;  // Without the separator, which the last block has, too.
}

/// What a block contributes to the text.
int plainUnitsOf(const QTextBlock& block) {
    return unitsOf(block) + (isPiece(block) ? 0 : 1);
}

std::uint64_t bytesOf(QChar unit) {
    if (unit.unicode() < 0x80) return 1;
    return unit.unicode() < 0x800 || unit.isSurrogate() ? 2 : 3;
}

bool isLineEnd(QChar unit) {
    return unit == u'\n' || unit == u'\r' || unit == QChar::ParagraphSeparator;
}

bool continuesCharacter(QChar unit) {
    return unit.isLowSurrogate() || unit.isMark() || unit == u'\u200D';
}

/// The place to cut `line` at, `wanted` or a little before it, where no character of the user's is torn.
qsizetype cutPlace(QStringView line, qsizetype wanted) {
    if (wanted >= line.size()) return line.size();
    qsizetype place = wanted;
    while (place > 0 && continuesCharacter(line[place]))
        --place;
    return place > 0 ? place : wanted;
}

/// Two noncharacters mean frames to a text document and are shown as unknown ones.
QString withoutFrames(std::string_view text) {
    QString result = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    for (const char16_t frame : {u'\uFDD0', u'\uFDD1'})
        result.replace(QChar(frame), QChar(QChar::ReplacementCharacter));
    return result;
}

}  // namespace

void LogDocument::append(std::string_view text) {
    if (text.empty()) return;
    const QString added = withoutFrames(text);
    QTextCursor end(&document_);
    end.movePosition(QTextCursor::End);
    end.beginEditBlock();
    auto at = added.cbegin();
    if (endsWithReturn_ && *at == u'\n') {
        document_.lastBlock().previous().setUserState(2);
        ++at;
    }
    while (at != added.cend()) {
        const auto stop = std::find_if(at, added.cend(), isLineEnd);
        appendLine(end, QStringView(at, stop));
        if (stop == added.cend()) break;
        const bool isPair = *stop == u'\r' && stop + 1 != added.cend() && stop[1] == u'\n';
        endBlock(end, isPair ? 2 : static_cast<int>(bytesOf(*stop)));
        at = stop + (isPair ? 2 : 1);
    }
    end.endEditBlock();
    endsWithReturn_ = added.endsWith(u'\r');
}

void LogDocument::appendLine(QTextCursor& end, QStringView line) {
    while (!line.isEmpty()) {
        const qsizetype room = maxPiece - unitsOf(end.block());
        if (room <= 0) {
            endBlock(end, pieceEnd);
            continue;
        }
        const qsizetype cut = cutPlace(line, room);
        end.insertText(line.first(cut).toString());
        line = line.sliced(cut);
        if (!line.isEmpty()) endBlock(end, pieceEnd);
    }
}

void LogDocument::endBlock(QTextCursor& end, int bytes) {
    end.insertBlock();
    end.block().previous().setUserState(bytes);
}

void LogDocument::dropBeginning(std::uint64_t bytes) {
    QTextBlock block = document_.begin();
    int place = 0;
    while (block.isValid() && bytes > 0) {
        const QString text = block.text();
        const auto* unit = text.cbegin();
        while (unit != text.cend() && bytes > 0)
            bytes -= std::min(bytes, bytesOf(*unit++));
        place = block.position() + static_cast<int>(unit - text.cbegin());
        if (unit != text.cend() || !block.next().isValid()) break;
        const auto ending = static_cast<std::uint64_t>(std::max(block.userState(), 0));
        if (bytes < ending || (bytes == 0 && !isPiece(block))) break;
        bytes -= ending;
        block = block.next();
        place = block.position();
    }
    const int state = block.isValid() ? block.userState() : -1;
    QTextCursor dropped(&document_);
    dropped.setPosition(place, QTextCursor::KeepAnchor);
    dropped.removeSelectedText();
    document_.firstBlock().setUserState(state);
}

void LogDocument::clear() {
    document_.clear();
    endsWithReturn_ = false;
}

QString LogDocument::text() const {
    QString text;
    for (QTextBlock block = document_.begin(); block.isValid(); block = block.next()) {
        text += block.text();
        if (!isPiece(block) && block.next().isValid()) text += u'\n';
    }
    return text;
}

qsizetype LogDocument::textPlace(int documentPlace) const {
    const QTextBlock last = document_.findBlock(documentPlace);
    qsizetype place = documentPlace - last.position();
    for (QTextBlock block = document_.begin(); block.isValid() && block != last; block = block.next())
        place += plainUnitsOf(block);
    return place;
}

int LogDocument::documentPlace(qsizetype textPlace) const {
    for (QTextBlock block = document_.begin(); block.isValid(); block = block.next()) {
        if (textPlace <= unitsOf(block)) return block.position() + static_cast<int>(textPlace);
        textPlace -= plainUnitsOf(block);
    }
    return document_.characterCount() - 1;
}

}  // namespace orvane
