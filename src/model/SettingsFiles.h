// The small text files through which the user's choices reach the server. They are only written and deleted
// here, never read. Main thread only.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace orvane {

class FileManager;

/// Stereo pair (from 0: pair p is channels 2p+1 and 2p+2) by the server's number for the phone.
using PinnedChannels = std::map<std::uint32_t, int>;

/// The text of the file "device": the chosen output device (empty: none), its first channel, and whether the
/// phones' streams are aligned.
std::string deviceFileText(std::string_view uid, std::int64_t channel, bool align);

/// The text of the file "channels": a line "phone=pair" for each entry, sorted as text.
std::string channelsFileText(const PinnedChannels& pairs);

/// The files in "Library/Application Support/Orvane" below the user's home folder, whichever that is at the
/// time of the call. Each is replaced as a whole, so that the server never reads half of one. Errors are not
/// reported: the program's own state does not depend on the files.
class SettingsFiles {
  public:
    /// `files` outlives this.
    explicit SettingsFiles(FileManager& files) : files_(files) {}

    /// What other users could write there, the server would take for this user's choices.
    void closeToOthers();
    void writeDevice(std::string_view uid, std::int64_t channel, bool align);
    void writeChannels(const PinnedChannels& pairs);
    /// Deletes the server's pairing code, so that it makes a new one at its next start.
    void deletePairing();

    /// Absolute path of the folder.
    std::string folder() const;

  private:
    void write(const std::string& name, std::string_view text);

    FileManager& files_;
};

}  // namespace orvane
