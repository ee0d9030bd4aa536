#include "linux/files/Autostart.h"

#include "linux/files/AtomicWrite.h"
#include "linux/files/PosixFileManager.h"
#include "posix/Environment.h"
#include "posix/Presence.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace orvane {

namespace {

namespace fs = std::filesystem;

constexpr const char* entryName = "audio.orvane.Orvane.desktop";

bool exists(const std::string& path) {
    std::error_code error;
    return fs::exists(path, error);
}

bool isHidden(const std::string& path) {
    std::ifstream entry(path);
    for (std::string line; std::getline(entry, line);)
        if (line == "Hidden=true" || line == "X-GNOME-Autostart-enabled=false") return true;
    return false;
}

/// An argument of the key Exec: quoted for the key's own rules, then escaped as every text of an entry is.
std::string execArgument(const std::string& text) {
    std::string quoted;
    for (const char c : text) {
        if (c == '"' || c == '`' || c == '$')
            quoted += "\\\\";
        else if (c == '\\')
            quoted += "\\\\\\";
        else if (c == '%')
            quoted += '%';
        quoted += c;
    }
    return "\"" + quoted + "\"";
}

}  // namespace

std::string autostartEntry(const std::string& executable) {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Orvane\n"
           "Comment=Use Android phones as microphones\n"
           "Exec=" +
           execArgument(executable) +
           "\n"
           "Icon=audio.orvane.Orvane\n"
           "Terminal=false\n"
           "StartupNotify=false\n"
           "X-KDE-autostart-after=panel\n"
           "X-LXQt-Need-Tray=true\n";
}

Autostart::Autostart() : path_(configurationFolder(PosixFileManager()) + "/autostart/" + entryName) {}

AutostartFacts Autostart::facts() const {
    if (exists(path_)) return {!isHidden(path_), path_};
    const std::string system = systemEntry();
    return {!system.empty() && !isHidden(system), system.empty() ? path_ : system};
}

std::string Autostart::turnOn(const std::string& executable) const {
    if (executable.find('\n') != executable.npos)
        return "an entry for autostart cannot name a program whose path has a line break: " + executable;
    return write(autostartEntry(executable));
}

std::string Autostart::turnOff() const {
    if (!systemEntry().empty()) return write("[Desktop Entry]\nType=Application\nName=Orvane\nHidden=true\n");
    std::error_code error;
    fs::remove(path_, error);
    return error ? path_ + " cannot be removed: " + error.message() : "";
}

std::string Autostart::write(const std::string& entry) const {
    const std::string folder = fs::path(path_).parent_path();
    const int folderError = PosixFileManager().createDirectory(folder) ? 0 : errno;
    if (const auto obstacle = obstacleToWriting(folder, {entryName}); !obstacle.empty())
        return folder + " " + obstacle;
    if (folderError != 0) return folder + " cannot be made: " + std::generic_category().message(folderError);
    const int error = replaceFile(path_, entry);
    return error == 0 ? "" : path_ + " cannot be written: " + std::generic_category().message(error);
}

std::string Autostart::systemEntry() const {
    const std::string variable = environment("XDG_CONFIG_DIRS");
    std::istringstream folders(variable.empty() ? "/etc/xdg" : variable);
    for (std::string folder; std::getline(folders, folder, ':');) {
        std::string path = folder + "/autostart/" + entryName;
        if (folder.starts_with('/') && exists(path)) return path;
    }
    return {};
}

}  // namespace orvane
