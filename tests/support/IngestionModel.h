// The rules of the server's output once more, written down in the plainest way and without any code of the
// program: what the controller is compared with.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane::test {

class IngestionModel {
  public:
    /// The fields of a record as they came, numbers written the usual way.
    using Record = std::vector<std::string>;

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

}  // namespace orvane::test
