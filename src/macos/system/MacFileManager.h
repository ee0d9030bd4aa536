// Files and folders through NSFileManager.
#pragma once

#include "platform/FileManager.h"

namespace orvane {

class MacFileManager : public FileManager {
  public:
    std::string homeDirectory() const override;
    bool isExecutableFile(const std::string& path) const override;
    bool createDirectory(const std::string& path) override;
    void closeToOthers(const std::string& folder) override;
    bool writeAtomically(const std::string& path, std::string_view text) override;
    bool removeItem(const std::string& path) override;
};

}  // namespace orvane
