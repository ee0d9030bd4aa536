// Opening things in other programs. Main thread only.
#pragma once

#include <string>

namespace orvane {

class Workspace {
  public:
    virtual ~Workspace() = default;
    /// Opens a web page in the default browser, without waiting for it.
    virtual void openUrl(const std::string& url) = 0;
};

}  // namespace orvane
