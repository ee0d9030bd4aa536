// Commands, one a line, carried out in order. Each is answered by a line: "ok COMMAND" or
// "failed COMMAND: REASON".
#pragma once

#include "Phone.h"
#include "ServiceRecord.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace phone {

class Script {
  public:
    /// Shows the phone's service to computers again, after it was hidden.
    using Publish = std::function<std::optional<ServiceRecord>()>;

    Script(Phone& phone, Publish publish);

    /// Reads commands from `input` until its end or `quit`. True when every one was done.
    bool run(int input);
    /// One command; true when it was done.
    bool carryOut(const std::string& line);
    static const char* help();

  private:
    using Arguments = std::vector<std::string>;
    using Command = std::function<Phone::Failure(const Arguments&)>;

    Phone::Failure publish();

    Phone& phone_;
    Publish publish_;
    std::optional<ServiceRecord> record_;
    std::map<std::string, Command> commands_;
};

}  // namespace phone
