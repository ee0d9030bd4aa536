#include "macos/desktop/MacImages.h"

#include "macos/system/Text.h"

namespace orvane {

namespace {

std::shared_ptr<Image> wrap(NSImage* image) { return image ? std::make_shared<MacImage>(image) : nullptr; }

NSString* sharperPath(NSString* path) {
    NSString* stem = path.stringByDeletingPathExtension;
    return [[stem stringByAppendingString:@"@2x"] stringByAppendingPathExtension:path.pathExtension];
}

}  // namespace

std::shared_ptr<Image> MacImages::load(const std::string& path) {
    NSString* file = toNSString(path);
    NSImage* image = [[NSImage alloc] initWithContentsOfFile:file];
    if (NSImageRep* sharper = [NSImageRep imageRepWithContentsOfFile:sharperPath(file)]) {
        sharper.size = image.size;
        [image addRepresentation:sharper];
    }
    return wrap(image);
}

std::shared_ptr<Image> MacImages::systemSymbol(const std::string& name, const std::string& description) {
    return wrap([NSImage imageWithSystemSymbolName:toNSString(name)
                          accessibilityDescription:toNSString(description)]);
}

std::shared_ptr<Image> MacImages::empty() { return wrap([[NSImage alloc] initWithSize:NSMakeSize(0, 0)]); }

std::shared_ptr<Image> MacImages::filledWithSystemGreen(const Image& image) {
    NSImage* shape = static_cast<const MacImage&>(image).native();
    // Drawn anew for each screen that shows it, as sharp as that screen is.
    NSImage* green = [NSImage imageWithSize:shape.size
                                    flipped:NO
                             drawingHandler:^BOOL(NSRect area) {
                               [shape drawInRect:area];
                               [NSColor.systemGreenColor set];
                               NSRectFillUsingOperation(area, NSCompositingOperationSourceAtop);
                               return YES;
                             }];
    return wrap(green);
}

}  // namespace orvane
