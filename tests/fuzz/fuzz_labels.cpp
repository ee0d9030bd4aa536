// Titles on their way to panels: what a panel makes of a label is the title again, with what is no text
// replaced, and no mnemonic.
#include "linux/desktop/MenuLabel.h"

#include <QString>
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using namespace orvane;

void require(bool condition) {
    if (!condition) std::abort();
}

/// As com.canonical.dbusmenu has it with `_`, and Qt with `&`: two of them are one, and a single one goes and
/// marks what follows.
QString shownWith(char16_t sign, const QString& label, bool& hasMnemonic) {
    QString shown;
    for (qsizetype at = 0; at < label.size(); ++at) {
        if (label[at] == sign && ++at < label.size() && label[at] != sign) hasMnemonic = true;
        if (at < label.size()) shown += label[at];
    }
    return shown;
}

/// As the AppIndicator extension has it: the first `_` before another character goes.
QString shownByGnome(QString label) {
    for (qsizetype at = 0; at + 1 < label.size(); ++at)
        if (label[at] == u'_' && label[at + 1] != u'_') return label.remove(at, 1);
    return label;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string title(reinterpret_cast<const char*>(data), size);
    const QString literal = literalText(title);
    require(std::ranges::none_of(literal, [](QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7F; }));

    bool hasMnemonic = false;
    require(shownWith(u'_', dbusLabel(title), hasMnemonic) == literal);
    require(shownWith(u'&', plainLabel(title), hasMnemonic) == literal);
    require(!hasMnemonic);
    require(shownByGnome(gnomeLabel(title)) == literal);
    return 0;
}
