#include "terminal/LineEditor.h"

#include "text/HarmlessText.h"
#include "text/Utf8.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cwchar>
#include <utility>

#include <sys/ioctl.h>

namespace orvane {

namespace {

constexpr int maxHistory = 200;          // Lines.
constexpr long maxCells = 1'000'000;     // Of a screen: libedit keeps them all, twice.
constexpr std::size_t maxSequence = 32;  // In bytes; no key sends as many.
constexpr unsigned char escape = 0x1B;
constexpr unsigned char controlD = 0x04;
constexpr std::string_view eraseBelow = "\r\x1b[J";  // ECMA-48: to the end of the screen.
constexpr const char* completion = "orvane-complete";

struct Binding {
    std::string_view key;
    const char* command;
};

/// What terminals send for the keys that everybody uses. Other sequences are left out as a whole.
constexpr std::array<Binding, 24> bindings = {
    {{"\x1b[A", "ed-prev-history"},       {"\x1bOA", "ed-prev-history"},       {"\x1b[B", "ed-next-history"},
     {"\x1bOB", "ed-next-history"},       {"\x1b[C", "ed-next-char"},          {"\x1bOC", "ed-next-char"},
     {"\x1b[D", "ed-prev-char"},          {"\x1bOD", "ed-prev-char"},          {"\x1b[H", "ed-move-to-beg"},
     {"\x1bOH", "ed-move-to-beg"},        {"\x1b[1~", "ed-move-to-beg"},       {"\x1b[7~", "ed-move-to-beg"},
     {"\x1b[F", "ed-move-to-end"},        {"\x1bOF", "ed-move-to-end"},        {"\x1b[4~", "ed-move-to-end"},
     {"\x1b[8~", "ed-move-to-end"},       {"\x1b[3~", "ed-delete-next-char"},  {"\x1b[1;5C", "em-next-word"},
     {"\x1b[1;5D", "ed-prev-word"},       {"\x1b\x66", "em-next-word"},        {"\x1b\x62", "ed-prev-word"},
     {"\x1b\x64", "em-delete-next-word"}, {"\x1b\x7f", "ed-delete-prev-word"}, {"\t", completion}}};

/// Keys that would have libedit ask for the next key at once.
constexpr std::array<Binding, 3> replacements = {
    {{"\x12", "ed-search-prev-history"}, {"\x16", "ed-unassigned"}, {"\x18", "ed-unassigned"}}};

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// Of the character that begins with `lead`, in bytes.
std::size_t characterLength(unsigned char lead) {
    if (lead >= 0xF8) return 1;  // It begins none.
    if (lead >= 0xF0) return 4;
    if (lead >= 0xE0) return 3;
    return lead >= 0xC0 ? 2 : 1;
}

std::size_t escapeLength(std::string_view bytes) {
    if (bytes.size() == 1) return 0;
    if (static_cast<unsigned char>(bytes[1]) < 0x20) return 1;  // Escape itself was pressed.
    if (bytes[1] != '[' && bytes[1] != 'O') return 2;
    for (std::size_t at = 2; at < bytes.size(); ++at) {
        const auto code = static_cast<unsigned char>(bytes[at]);
        if (code < 0x20) return at;
        if (code >= 0x40) return at + 1;
    }
    return bytes.size() < maxSequence ? 0 : bytes.size();
}

bool isCharacter(char first) {
    const auto code = static_cast<unsigned char>(first);
    return code >= 0x20 && code != 0x7F;
}

/// Of the whole characters that `bytes` begin with, before any other key.
std::size_t textLength(std::string_view bytes) {
    std::size_t length = 0;
    while (length < bytes.size() && isCharacter(bytes[length])) {
        const std::size_t next = keyLength(bytes.substr(length));
        if (next == 0) break;
        length += next;
    }
    return length;
}

std::string commonBeginning(const std::vector<std::string>& texts) {
    std::string common = texts.front();
    for (const std::string& text : texts)
        common.resize(static_cast<std::size_t>(std::ranges::mismatch(common, text).in1 - common.begin()));
    while (!common.empty() && common.size() < texts.front().size() &&
           isContinuation(texts.front()[common.size()]))
        common.pop_back();
    return common;
}

winsize sizeOf(int terminal) {
    winsize size = {};
    ::ioctl(terminal, TIOCGWINSZ, &size);
    return {size.ws_row ? size.ws_row : static_cast<unsigned short>(24),
            size.ws_col ? size.ws_col : static_cast<unsigned short>(80), 0, 0};
}

LineEditor& ownerOf(EditLine* editLine) {
    void* owner = nullptr;
    editLibrary()->get(editLine, EL_CLIENTDATA, &owner);
    return *static_cast<LineEditor*>(owner);
}

}  // namespace

std::size_t keyLength(std::string_view bytes) {
    if (static_cast<unsigned char>(bytes[0]) == escape) return escapeLength(bytes);
    const std::size_t whole = characterLength(static_cast<unsigned char>(bytes[0]));
    for (std::size_t at = 1; at < whole; ++at) {
        if (at == bytes.size()) return 0;
        if (!isContinuation(bytes[at])) return 1;
    }
    return whole;
}

int rowsAboveCursor(std::string_view text, int columns) {
    int row = 0;
    int column = 0;
    while (!text.empty()) {
        const CodePoint point = firstCodePoint(text);
        text.remove_prefix(point.length);
        const int width = std::max(0, ::wcwidth(static_cast<wchar_t>(point.value)));
        if (column + width > columns) {
            ++row;
            column = 0;
        }
        column += width;
    }
    return column == columns ? row + 1 : row;
}

bool LineEditor::canEditOn(int terminal) {
    const winsize size = sizeOf(terminal);
    return static_cast<long>(size.ws_row) * size.ws_col <= maxCells;
}

LineEditor::LineEditor(int terminal, TerminalOutput& output, Complete complete)
    : terminal_(terminal),
      output_(output),
      complete_(std::move(complete)),
      drawing_(::open_memstream(&drawn_, &drawnSize_)),
      history_(edit_.historyInit()),
      editLine_(edit_.init("orvane", stdin, drawing_, drawing_, terminal, terminal, terminal)) {
    HistEvent event = {};
    edit_.historyCall(history_, &event, H_SETSIZE, maxHistory);
    edit_.historyCall(history_, &event, H_SETUNIQUE, 1);
    edit_.set(editLine_, EL_CLIENTDATA, this);
    edit_.set(editLine_, EL_EDITOR, "emacs");
    edit_.set(editLine_, EL_HIST, edit_.historyCall, history_);
    edit_.set(editLine_, EL_PROMPT, promptOf);
    edit_.set(editLine_, EL_GETCFN, nextCharacter);
    bindKeys();
    edit_.set(editLine_, EL_UNBUFFERED, 1);  // One key a call.
    dropDrawn();
}

/// Without its edit mode libedit leaves the terminal as it is; otherwise it would throw away what has been
/// typed ahead.
LineEditor::~LineEditor() {
    edit_.set(editLine_, EL_EDITMODE, 0);
    edit_.end(editLine_);
    edit_.historyEnd(history_);
    std::fclose(drawing_);
    std::free(drawn_);  // NOLINT: given by open_memstream.
}

void LineEditor::bindKeys() {
    edit_.set(editLine_, EL_ADDFN, completion, "Completes commands and rows", completeIn);
    for (const Binding& binding : bindings)
        edit_.set(editLine_, EL_BIND, std::string(binding.key).c_str(), binding.command, nullptr);
    for (const Binding& binding : replacements)
        edit_.set(editLine_, EL_BIND, std::string(binding.key).c_str(), binding.command, nullptr);
}

LineEditor::Typed LineEditor::type(std::string_view bytes) {
    show();
    Typed typed;
    pending_ += bytes;
    std::size_t used = 0;
    while (used < pending_.size() && !typed.hasEnded) {
        const std::string_view rest = std::string_view(pending_).substr(used);
        const std::size_t text = textLength(rest);
        const std::size_t length = text > 0 ? text : keyLength(rest);
        if (length == 0) break;
        text > 0 ? insert(rest.substr(0, text)) : press(rest.substr(0, length), typed);
        used += length;
    }
    pending_.erase(0, used);
    writeDrawn();
    return typed;
}

void LineEditor::press(std::string_view key, Typed& typed) {
    const auto code = static_cast<unsigned char>(key[0]);
    const bool isSequence = code == escape;
    if (isSequence && std::ranges::find(bindings, key, &Binding::key) == bindings.end()) return;
    typed.hasEnded = code == controlD && length() == 0;
    if (typed.hasEnded) return;
    feed(std::u32string(key.begin(), key.end()));
    if (code == '\n' || code == '\r') finishLine(typed);
}

void LineEditor::insert(std::string_view text) {
    std::size_t room = maxLine - std::min(maxLine, length());
    while (!text.empty()) {
        const std::string typed(text.substr(0, firstCodePoint(text).length));
        text.remove_prefix(typed.size());
        const std::string shown = harmless(typed);
        const std::size_t size = std::max(typed.size(), shown.size());
        if (size > room) continue;
        room -= size;
        insertOne(typed, shown);
    }
}

/// What shows nothing (a joiner, a selector) may be part of a character whose rest is still to come: it is
/// kept, not drawn, and judged when the line is finished.
void LineEditor::insertOne(const std::string& typed, const std::string& shown) {
    if (shown != typed && ::wcwidth(static_cast<wchar_t>(firstCodePoint(typed).value)) == 0) {
        edit_.insert(editLine_, typed.c_str());
    } else {
        feed(std::u32string(1, static_cast<char32_t>(firstCodePoint(shown).value)));
    }
}

/// Not by el_gets, which makes the whole line anew at each key.
void LineEditor::feed(const std::u32string& key) {
    given_ = key;
    int count = 0;
    edit_.gets(editLine_, &count);
    given_.clear();
}

int LineEditor::nextCharacter(EditLine* editLine, wchar_t* character) {
    std::u32string& given = ownerOf(editLine).given_;
    if (given.empty()) return 0;
    *character = static_cast<wchar_t>(given.front());
    given.erase(0, 1);
    return 1;
}

char* LineEditor::promptOf(EditLine* editLine) {
    return ownerOf(editLine).prompt_.data();
}

void LineEditor::finishLine(Typed& typed) {
    const LineInfo& info = *edit_.line(editLine_);
    std::string line(info.buffer, info.lastchar);
    line.resize(line.find_last_not_of("\r\n") + 1);
    line = harmless(line);
    HistEvent event = {};
    if (!line.empty()) edit_.historyCall(history_, &event, H_ENTER, line.c_str());
    typed.lines.push_back(std::move(line));
    beginLine();
}

/// libedit begins a line when it is told to read key by key. Without its edit mode it leaves the terminal's
/// mode alone meanwhile.
void LineEditor::beginLine() {
    edit_.set(editLine_, EL_EDITMODE, 0);
    edit_.set(editLine_, EL_UNBUFFERED, 0);
    edit_.set(editLine_, EL_EDITMODE, 1);
    edit_.set(editLine_, EL_UNBUFFERED, 1);
}

std::string LineEditor::beforeCursor() const {
    const LineInfo& info = *edit_.line(editLine_);
    return {info.buffer, info.cursor};
}

std::size_t LineEditor::length() const {
    const LineInfo& info = *edit_.line(editLine_);
    return static_cast<std::size_t>(info.lastchar - info.buffer);
}

unsigned char LineEditor::completeIn(EditLine* editLine, int) {
    return ownerOf(editLine).completeTyped();
}

unsigned char LineEditor::completeTyped() {
    const std::string typed = beforeCursor();
    const std::vector<std::string> choices = complete_(typed);
    if (choices.empty()) return CC_ERROR;
    const std::string common = commonBeginning(choices);
    if (common.size() > typed.size()) {
        edit_.insert(editLine_, common.substr(typed.size()).c_str());
        return CC_REFRESH;
    }
    std::string list;
    for (const std::string& choice : choices)
        list += harmless(choice) + "\n";
    hide();
    output_.write(list);
    show();
    return CC_NORM;
}

void LineEditor::show() {
    if (std::exchange(isShown_, true)) return;
    edit_.set(editLine_, EL_REFRESH);
    writeDrawn();
}

void LineEditor::hide() {
    writeDrawn();
    if (!std::exchange(isShown_, false)) return;
    const winsize size = sizeOf(terminal_);
    const int rows = std::min(rowsAboveCursor(prompt_ + beforeCursor(), size.ws_col), size.ws_row - 1);
    if (rows > 0) output_.write("\x1b[" + std::to_string(rows) + "A");  // So many rows up.
    output_.write(eraseBelow);
}

void LineEditor::adapt(bool isElsewhere) {
    isShown_ = isShown_ && !isElsewhere;
    if (isElsewhere) output_.write(eraseBelow);
    hide();
    edit_.set(editLine_, EL_PREP_TERM, 0);
    edit_.set(editLine_, EL_PREP_TERM, 1);
    edit_.resize(editLine_);
    dropDrawn();
}

void LineEditor::writeDrawn() {
    std::fflush(drawing_);
    if (drawnSize_ > 0) output_.write({drawn_, drawnSize_});
    std::rewind(drawing_);
}

void LineEditor::dropDrawn() {
    std::fflush(drawing_);
    std::rewind(drawing_);
}

}  // namespace orvane
