// Images for the status item. An image belongs to the system that made it; the core only says how it is
// built. Main thread only.
#pragma once

#include <memory>
#include <string>

namespace orvane {

/// Width and height in points.
struct ImageSize {
    double width = 0;
    double height = 0;
    bool operator==(const ImageSize&) const = default;
};

class Image {
  public:
    virtual ~Image() = default;
    virtual ImageSize size() const = 0;
    virtual void setSize(ImageSize size) = 0;
    /// A template image is only a shape: whoever shows it chooses colours that fit the surroundings.
    virtual void setTemplate(bool isTemplate) = 0;
};

class Images {
  public:
    virtual ~Images() = default;
    /// Null when the file is missing or no image.
    virtual std::shared_ptr<Image> load(const std::string& path) = 0;
    /// The system's symbol of that name; null when it has none. `description` is for people who cannot see
    /// it.
    virtual std::shared_ptr<Image> systemSymbol(const std::string& name, const std::string& description) = 0;
    virtual std::shared_ptr<Image> empty() = 0;
    /// A new image of the same size: `image` drawn, then the system's green painted exactly where it is
    /// opaque (source-atop).
    virtual std::shared_ptr<Image> filledWithSystemGreen(const Image& image) = 0;
};

}  // namespace orvane
