#include "text/Format.h"

#include <ios>
#include <locale>
#include <sstream>

namespace orvane {

std::string fixedDecimal(double value, int digits) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(digits);
    text << std::fixed << value;
    return text.str();
}

}  // namespace orvane
