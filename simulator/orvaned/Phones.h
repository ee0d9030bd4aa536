// The phones that are connected: pretended ones and real connections alike, each on a stereo pair of the
// output device.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace orvaned {

struct Phone {
    std::uint32_t deviceId = 0;
    std::string name;
    std::string address;
    std::uint64_t packets = 0;
    int bufferMs = 40;
    int targetMs = 40;
    int dropouts = 0;
    double roundTripMs = 0;      ///< 0: not measured.
    double networkDelayMs = -1;  ///< Negative: not measured.
    bool silent = false;
    int slot = 0;
    int pair = 0;  ///< Index of the stereo pair, from 0.
};

class Phones {
  public:
    /// Gives the phone the lowest free slot.
    void add(Phone phone);
    void remove(std::uint32_t deviceId);
    Phone* find(std::uint32_t deviceId);
    const std::vector<Phone>& all() const { return phones_; }

    /// Gives every phone its pair: the pinned ones theirs, the others, by slot, the first one that is free
    /// from `firstPair` on. When the device has too few, phones share.
    void arrange(const std::map<std::uint32_t, int>& pinned, int firstPair, int pairs);

    /// The lines that tell the program which phones there are: header, records, and whether any streams.
    std::string block() const;

  private:
    std::vector<Phone> phones_;  ///< By slot.
};

}  // namespace orvaned
