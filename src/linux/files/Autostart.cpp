#include "linux/files/Autostart.h"

#include "linux/files/AtomicWrite.h"
#include "linux/files/PosixFileManager.h"
#include "posix/Environment.h"

#include <filesystem>
#include <fstream>
#include <sstream>

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

bool Autostart::turnOn(const std::string& executable) const {
    if (executable.find('\n') != executable.npos) return false;
    return PosixFileManager().createDirectory(fs::path(path_).parent_path()) &&
           replaceFile(path_, autostartEntry(executable)) == 0;
}

bool Autostart::turnOff() const {
    if (!systemEntry().empty())
        return PosixFileManager().createDirectory(fs::path(path_).parent_path()) &&
               replaceFile(path_, "[Desktop Entry]\nType=Application\nName=Orvane\nHidden=true\n") == 0;
    std::error_code error;
    fs::remove(path_, error);
    return !error;
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
