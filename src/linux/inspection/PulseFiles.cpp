#include "linux/inspection/PulseFiles.h"

#include "linux/files/PosixFileManager.h"
#include "posix/Environment.h"
#include "posix/Presence.h"
#include "text/Trim.h"

#include <QByteArray>
#include <QString>
#include <QSysInfo>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace orvane {

namespace {

namespace fs = std::filesystem;

fs::path pulseConfiguration() {
    return configurationFolder(PosixFileManager()) + "/pulse";
}

/// Where libpulse keeps what it kept before there was a folder for everybody's configuration.
fs::path oldPulseConfiguration() {
    return PosixFileManager().homeDirectory() + "/.pulse";
}

fs::path mainClientFile() {
    if (const auto named = environment("PULSE_CLIENTCONFIG"); !named.empty()) return named;
    for (const fs::path& folder : {oldPulseConfiguration(), pulseConfiguration()})
        if (fileExists(folder / "client.conf")) return folder / "client.conf";
    return "/etc/pulse/client.conf";
}

/// In the order in which they are read.
std::vector<fs::path> clientFiles() {
    const fs::path main = mainClientFile();
    std::vector<fs::path> files{main};
    std::error_code error;
    for (fs::directory_iterator entry(main.string() + ".d", error), end; !error && entry != end;
         entry.increment(error))
        if (entry->path().extension() == ".conf") files.push_back(entry->path());
    std::sort(files.begin() + 1, files.end());
    return files;
}

/// The value that a client.conf has for the key, and of several the last; empty when there is none.
std::string clientSetting(std::string_view key) {
    std::string value;
    for (const fs::path& path : clientFiles()) {
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            const auto text = std::string_view(line).substr(0, line.find_first_of(";#"));
            const auto equals = text.find('=');
            if (equals != text.npos && trimWhitespaceAndNewlines(text.substr(0, equals)) == key)
                value = trimWhitespaceAndNewlines(text.substr(equals + 1));
        }
    }
    return value;
}

bool hasCookie() {
    // The first that is named is made where it is missing, whether there is another or not.
    for (const std::string& named : {environment("PULSE_COOKIE"), clientSetting("cookie-file")})
        if (!named.empty()) return fileExists(pulseConfiguration() / named);
    return fileExists(pulseConfiguration() / "cookie") ||
           fileExists(PosixFileManager().homeDirectory() + "/.pulse-cookie");
}

/// libpulse would change the mode or the owner of another.
bool isPrivate(const std::string& folder) {
    struct stat status = {};
    return ::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           (status.st_mode & 07777) == S_IRWXU && status.st_uid == ::getuid() && status.st_gid == ::getgid();
}

/// Without a runtime folder of the desktop, a link in the user's configuration leads to one in /tmp, which a
/// restart of the machine may have cleared. Each machine that shares the home has a link of its own.
bool hasLinkToSocketFolder() {
    const fs::path old = oldPulseConfiguration();
    const fs::path folder = fileExists(old) ? old : pulseConfiguration();
    QByteArray machine = QSysInfo::machineUniqueId();
    if (machine.isEmpty()) machine = QSysInfo::machineHostName().toLocal8Bit();
    return isPrivate(folder) && isPrivate(folder / (machine.toStdString() + "-runtime"));
}

bool hasSocketFolder() {
    if (const auto named = environment("PULSE_RUNTIME_PATH"); !named.empty()) return fileExists(named);
    const std::string runtimeFolder = environment("XDG_RUNTIME_DIR");
    return runtimeFolder.empty() ? hasLinkToSocketFolder() : fileExists(runtimeFolder + "/pulse");
}

void setVariable(const char* name, const std::string& value) {
    ::setenv(name, value.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
}

}  // namespace

void keepPulseFromMakingFiles() {
    if (!hasCookie()) setVariable("PULSE_COOKIE", "/dev/zero");
    const bool isServerNamed =
        !environment("PULSE_SERVER").empty() || !clientSetting("default-server").empty();
    if (isServerNamed || hasSocketFolder()) return;
    const std::string runtimeFolder = environment("XDG_RUNTIME_DIR");
    if (isPrivate(runtimeFolder))
        setVariable("PULSE_RUNTIME_PATH", runtimeFolder);
    else  // The one for all users is what is left.
        setVariable("PULSE_SERVER", "unix:/run/pulse/native");
}

}  // namespace orvane
