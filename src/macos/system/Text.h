// The one place where the core's UTF-8 text and Foundation's strings become each other. Any thread.
#pragma once

#import <Foundation/Foundation.h>

#include <string>
#include <string_view>

namespace orvane {

/// Never nil. Bytes that are no UTF-8 are read one character each (ISO Latin 1), so that nothing is lost and
/// nothing fails.
NSString* toNSString(std::string_view text);

/// Nil gives the empty text; what UTF-8 cannot say (half a surrogate pair) is replaced.
std::string toString(NSString* text);

}  // namespace orvane
