// The files through which the program tells the server what its user wants, in the settings folder of the
// home folder. The server reads them; it only ever writes "pairing".
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <sys/stat.h>

namespace orvaned {

class Settings {
  public:
    /// The file "device". A missing file, or a missing line in it, leaves the value here.
    struct Output {
        std::string uid;       ///< Empty: none was chosen.
        int firstChannel = 1;  ///< Of the first phone, counted from 1.
        bool alignment = true;
    };

    Settings();

    Output output() const;

    /// The file "channels": phone id → index of the stereo pair, from 0.
    std::map<std::uint32_t, int> pinnedPairs() const;
    /// True when "channels" is another file, or holds something else, than at the call before.
    bool channelsChanged();

    /// The code in the file "pairing"; a new one is made and stored when there is none.
    std::string pairingCode() const;

  private:
    std::string path(const std::string& name) const { return folder_ + "/" + name; }

    std::string folder_;
    struct stat channels_ = {};
};

}  // namespace orvaned
