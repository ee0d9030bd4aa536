// NSImages for the status item.
#pragma once

#include "platform/Surface.h"

#import <AppKit/AppKit.h>

namespace orvane {

class MacImage : public Image {
   public:
    explicit MacImage(NSImage* image) : image_(image) {}

    ImageSize size() const override { return {image_.size.width, image_.size.height}; }
    void setSize(ImageSize size) override { [image_ setSize:NSMakeSize(size.width, size.height)]; }
    void setTemplate(bool isTemplate) override { [image_ setTemplate:isTemplate]; }

    NSImage* native() const { return image_; }

   private:
    NSImage* image_;
};

class MacImages : public Images {
   public:
    /// With the sharper version beside it ("name@2x.png"), when there is one.
    std::shared_ptr<Image> load(const std::string& path) override;
    std::shared_ptr<Image> systemSymbol(const std::string& name, const std::string& description) override;
    std::shared_ptr<Image> empty() override;
    std::shared_ptr<Image> filledWithSystemGreen(const Image& image) override;
};

}  // namespace orvane
