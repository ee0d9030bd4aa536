// Numbers as people read them. Any thread.
#pragma once

#include <string>

namespace orvane {

/// `value` with that many digits after the decimal point, rounded to nearest, as printf's "%.*f" writes it in
/// the "C" locale, whatever the locale of the process is. A float passes through it unchanged.
std::string fixedDecimal(double value, int digits);

}  // namespace orvane
