// Files that exist in a test only, and user defaults of the same kind.
#pragma once

#include "platform/FileManager.h"
#include "platform/UserDefaults.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace orvane::test {

class FakeFileManager : public FileManager {
  public:
    std::string homeDirectory() const override { return home; }
    bool isExecutableFile(const std::string& path) const override { return executables.contains(path); }
    bool createDirectory(const std::string& path) override {
        note("mkdir " + path);
        if (failing) return false;
        directories.insert(path);
        return true;
    }
    void closeToOthers(const std::string& folder) override { closed.push_back(folder); }
    bool writeAtomically(const std::string& path, std::string_view text) override {
        note("write " + path);
        if (failing || !directories.contains(path.substr(0, path.rfind('/')))) return false;
        files[path] = text;
        return true;
    }
    bool removeItem(const std::string& path) override {
        note("remove " + path);
        return !failing && files.erase(path) > 0;
    }

    std::string home = "/home/tester";
    bool failing = false;  ///< Nothing can be created, written or removed.
    std::map<std::string, std::string> files;
    std::set<std::string> directories;
    std::set<std::string> executables;
    std::vector<std::string> closed;                          ///< Folders, in order.
    std::vector<std::string> journal;                         ///< What was asked for, in order.
    std::function<void(const std::string& change)> onChange;  ///< Called with each entry of the journal.

  private:
    void note(const std::string& change) {
        journal.push_back(change);
        if (onChange) onChange(change);
    }
};

class FakeUserDefaults : public UserDefaults {
  public:
    std::optional<std::string> string(const std::string& key) const override {
        const auto found = values.find(key);
        return found == values.end() ? std::nullopt : std::optional(found->second);
    }
    void setString(const std::optional<std::string>& value, const std::string& key) override {
        if (value) {
            values[key] = *value;
        } else {
            values.erase(key);
        }
    }

    std::map<std::string, std::string> values;
};

}  // namespace orvane::test
