#include "support/RecordedApplication.h"

#include "text/LogText.h"

namespace orvane::test {

namespace {

std::shared_ptr<RecordedImage> makeImage(const std::string& source) {
    auto image = std::make_shared<RecordedImage>();
    image->source = source;
    return image;
}

}  // namespace

std::shared_ptr<Image> RecordedImages::load(const std::string& path) {
    if (!hasFile) return nullptr;
    ++made;
    return makeImage(path);
}

std::shared_ptr<Image> RecordedImages::systemSymbol(const std::string& name, const std::string& description) {
    if (!hasSymbol) return nullptr;
    ++made;
    return makeImage("symbol " + name + " (" + description + ")");
}

std::shared_ptr<Image> RecordedImages::empty() {
    ++made;
    return makeImage("empty");
}

std::shared_ptr<Image> RecordedImages::filledWithSystemGreen(const Image& image) {
    ++made;
    auto filled = makeImage("green " + static_cast<const RecordedImage&>(image).source);
    filled->pointSize = image.size();
    filled->isTemplate = true;  // whoever wants it coloured must say so
    return filled;
}

void RecordedApplication::terminate() {
    journal.emplace_back("terminate");
    if (onTerminate) onTerminate();
}

std::unique_ptr<StatusItem> RecordedApplication::makeStatusItem() {
    journal.emplace_back("status item");
    auto item = std::make_unique<RecordedStatusItem>();
    item->button = statusButton;
    statusItem = item.get();
    return item;
}

int RecordedApplication::runModal(const Alert& alert) {
    journal.emplace_back("modal");
    alerts.push_back(alert);
    if (whileModal) whileModal();
    return answer;
}

void RecordedLogWindow::update(const LogText& log) {
    text = log.text();
    journal.emplace_back("update");
}

std::unique_ptr<LogWindow> RecordedLogWindows::make(const LogWindowStyle& style) {
    styles.push_back(style);
    auto made = std::make_unique<RecordedLogWindow>();
    window = made.get();
    return made;
}

}  // namespace orvane::test
