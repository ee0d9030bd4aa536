// Images for the status item, drawn at whatever pixel size a panel asks for. Main thread only.
#pragma once

#include "platform/Surface.h"

#include <QIcon>
#include <QImage>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orvane {

/// A sign in the corner of the icon.
enum class Badge { none, problem };

class QtImage : public Image {
  public:
    /// Draws the image into a square of that many pixels, on nothing.
    using Drawing = std::function<QImage(int pixels)>;

    QtImage(Drawing drawing, ImageSize size) : drawing_(std::move(drawing)), size_(size) {}

    ImageSize size() const override { return size_; }
    void setSize(ImageSize size) override { size_ = size; }
    void setTemplate(bool isTemplate) override { template_ = isTemplate; }

    const Drawing& drawing() const { return drawing_; }
    /// The image in the sizes that panels use. A template becomes a light shape with a dark rim, so that it
    /// stands out from light and dark panels alike.
    std::vector<QImage> statusImages(Badge badge = Badge::none) const;
    /// The same for what Qt shows. Qt keeps what it draws of each icon for a while, up to 10 MiB.
    QIcon statusIcon(Badge badge = Badge::none) const;
    /// The image in one size; a template takes the colour of the text it stands beside.
    QPixmap pixmap(int pixels, qreal ratio, const QColor& textColour, Badge badge = Badge::none) const;
    bool isTemplate() const { return template_; }

  private:
    Drawing drawing_;
    ImageSize size_;
    bool template_ = false;
};

/// The program's own icon, for its windows: the installed one, or a drawing of it.
QIcon programIcon();

class QtImages : public Images {
  public:
    /// A PNG. Takes the larger versions beside the file too: `name@2x.png`, @3x, @4x and @8x.
    std::shared_ptr<Image> load(const std::string& path) override;
    /// Knows one symbol, the microphone "mic.fill".
    std::shared_ptr<Image> systemSymbol(const std::string& name, const std::string& description) override;
    std::shared_ptr<Image> empty() override;
    std::shared_ptr<Image> filledWithSystemGreen(const Image& image) override;
};

}  // namespace orvane
