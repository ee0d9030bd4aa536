// The rules of the server's output once more, written down in the plainest way and without any code of the
// program: what the controller is compared with.
#pragma once

#include "model/LoopbackDevice.h"
#include "model/PhoneSession.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane::test {

/// The fields of a record, numbers written the usual way.
using Record = std::vector<std::string>;

class IngestionModel {
  public:
    /// One read of the server's output.
    void print(const std::string& bytes);

    std::string log;
    std::vector<Record> devices;
    std::vector<Record> phones;
    bool alignStreams = true;
    std::optional<std::string> pairingCode;
    bool driverMissing = false;
    std::string status = "○ Waiting for phone…";
    bool connected = false;

  private:
    struct Block {
        std::int64_t announced = 0;
        std::vector<Record> collected;
    };

    void line(const std::string& text);
    static void header(Block& block, std::vector<Record>& committed, const std::string& count);
    static void record(Block& block, std::vector<Record>& committed, const std::optional<Record>& record);
    void tellStatus(const std::string& text, bool isConnected);

    Block deviceBlock_;
    Block phoneBlock_;
};

/// The records of the program in the model's form.
std::vector<Record> recordsOf(const std::vector<LoopbackDevice>& devices);
std::vector<Record> recordsOf(const std::vector<PhoneSession>& phones);

}  // namespace orvane::test
