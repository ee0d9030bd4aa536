#include "model/SettingsFiles.h"

#include "platform/FileManager.h"

#include <algorithm>
#include <vector>

namespace orvane {

std::string deviceFileText(std::string_view uid, std::int64_t channel, bool align) {
    std::string text = "uid=";
    text += uid;
    text += "\nchannel=" + std::to_string(channel);
    text += align ? "\nalign=1\n" : "\nalign=0\n";
    return text;
}

std::string channelsFileText(const PinnedChannels& pairs) {
    std::vector<std::string> lines;
    for (const auto& [deviceId, pair] : pairs) {
        lines.push_back(std::to_string(deviceId) + "=" + std::to_string(pair));
    }
    std::sort(lines.begin(), lines.end());

    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

void SettingsFiles::closeToOthers() {
    files_.closeToOthers(folder());
}

void SettingsFiles::writeDevice(std::string_view uid, std::int64_t channel, bool align) {
    write("device", deviceFileText(uid, channel, align));
}

void SettingsFiles::writeChannels(const PinnedChannels& pairs) {
    write("channels", channelsFileText(pairs));
}

void SettingsFiles::deletePairing() {
    files_.removeItem(folder() + "/pairing");
}

std::string SettingsFiles::folder() const {
    return files_.homeDirectory() + "/Library/Application Support/Orvane";
}

void SettingsFiles::write(const std::string& name, std::string_view text) {
    const std::string path = folder();
    files_.createDirectory(path);
    files_.writeAtomically(path + "/" + name, text);
}

}  // namespace orvane
