// The standard user defaults.
#pragma once

#include "macos/system/Text.h"
#include "platform/UserDefaults.h"

namespace orvane {

class MacUserDefaults : public UserDefaults {
   public:
    std::optional<std::string> string(const std::string& key) const override {
        NSString* value = [NSUserDefaults.standardUserDefaults stringForKey:toNSString(key)];
        return value ? std::optional(toString(value)) : std::nullopt;
    }
    void setString(const std::optional<std::string>& value, const std::string& key) override {
        [NSUserDefaults.standardUserDefaults setObject:value ? toNSString(*value) : nil
                                                forKey:toNSString(key)];
    }
};

}  // namespace orvane
