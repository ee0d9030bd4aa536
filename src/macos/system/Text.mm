#include "macos/system/Text.h"

namespace orvane {

NSString* toNSString(std::string_view text) {
    NSString* utf8 = [[NSString alloc] initWithBytes:text.data()
                                              length:text.size()
                                            encoding:NSUTF8StringEncoding];
    if (utf8) return utf8;
    // What is no UTF-8 is shown byte for byte, rather than not at all.
    NSString* latin1 = [[NSString alloc] initWithBytes:text.data()
                                                length:text.size()
                                              encoding:NSISOLatin1StringEncoding];
    return latin1 ? latin1 : @"";
}

std::string toString(NSString* text) {
    NSData* utf8 = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
    return utf8 ? std::string(static_cast<const char*>(utf8.bytes), utf8.length) : std::string();
}

}  // namespace orvane
