#include "linux/system/SyslogSystemLog.h"

#include "text/HarmlessText.h"

#include <string>

#include <syslog.h>
#include <unistd.h>

namespace orvane {

SyslogSystemLog::SyslogSystemLog(bool echoes) : echoes_(echoes && ::isatty(STDERR_FILENO) == 1) {
    ::openlog("orvane", LOG_PID, LOG_USER);
}

SyslogSystemLog::~SyslogSystemLog() {
    ::closelog();
}

void SyslogSystemLog::log(std::string_view line) {
    std::string text = harmless(line);
    ::syslog(LOG_NOTICE, "%s", text.c_str());
    if (!echoes_) return;
    text += '\n';
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace orvane
