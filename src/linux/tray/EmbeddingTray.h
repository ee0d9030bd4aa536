// Follows the system tray of the older kind on the default screen of an X11 display: icons are windows that
// it embeds (https://specifications.freedesktop.org/systemtray-spec/). Main thread only.
#pragma once

#include <QAbstractNativeEventFilter>
#include <cstdint>
#include <functional>

struct xcb_connection_t;

namespace orvane {

class EmbeddingTray : public QAbstractNativeEventFilter {
  public:
    /// `changed` hears when a tray has come or gone. Without X11 there is none, and none comes.
    explicit EmbeddingTray(std::function<void(bool present)> changed);
    ~EmbeddingTray() override;
    EmbeddingTray(const EmbeddingTray&) = delete;
    EmbeddingTray& operator=(const EmbeddingTray&) = delete;

    bool isPresent() const { return owner_ != 0; }

    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

  private:
    void ask();
    void lookAgain();

    std::function<void(bool)> changed_;
    xcb_connection_t* display_ = nullptr;
    std::uint32_t selection_ = 0;
    std::uint32_t manager_ = 0;
    std::uint32_t owner_ = 0;
};

}  // namespace orvane
