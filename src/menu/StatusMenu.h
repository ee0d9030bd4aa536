// The status item with its icon, and the menu behind it: the rows that are always there, what each says, and
// when their submenus may be replaced.
#pragma once

#include "model/LoopbackDevice.h"
#include "model/PhoneSession.h"
#include "platform/Menu.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace orvane {

class Application;
struct Bundle;
class Image;
class Images;
class StatusItem;

/// "● 1 phone connected".
std::string connectedStatus(std::size_t phones, bool driverMissing);
/// "○ Waiting for phone…".
std::string waitingStatus(bool driverMissing);

/// Main thread only.
class StatusMenu {
  public:
    /// The roles outlive this. Shows nothing yet.
    StatusMenu(Application& application, Images& images, const Bundle& bundle);
    ~StatusMenu();
    StatusMenu(const StatusMenu&) = delete;
    StatusMenu& operator=(const StatusMenu&) = delete;

    /// Makes the status item, then the menu with every row as it is before anything is known. `target`
    /// carries out what is chosen and `delegate` hears of opening and closing; neither is owned.
    void show(MenuTarget& target, MenuDelegate& delegate);
    /// Takes the item away. If its menu is open, the delegate hears that it closes.
    void remove();

    /// The status row and the icon.
    void setStatus(const std::string& text, bool connected);
    /// None: no code is known.
    void setPairingCode(const std::optional<std::string>& code);
    void setUsb(const std::string& title, bool enabled);
    void setBluetoothTitle(const std::string& title);
    void setBluetoothMenu(const std::shared_ptr<Menu>& submenu);
    /// The mark of the row "Keep phones in sync". Before the menu is shown nothing happens.
    void setAligned(bool aligned);
    void setVolumeWarning(const DeviceChoice& device, const std::string& name, float volume);
    void hideVolumeWarning();
    /// What the warning is about; null when there has been none. A hidden one counts.
    const DeviceChoice* warnedDevice() const;

    /// Puts the phones into the menu if they would show differently there. While the menu is open that is put
    /// off.
    void showPhones(std::span<const PhoneSession> phones, bool aligned);
    /// The same for the devices; no device at all is shown every time, so that the way to a driver is there.
    /// True when the row was made anew.
    bool showDevices(std::span<const LoopbackDevice> devices);

    /// True while the menu is open: what is due is put off until it closes.
    bool putOff();
    /// To be told by the delegate, with any menu.
    void willOpen(const Menu& menu);
    /// True when something was put off, which is due now.
    bool didClose(const Menu& menu);

  private:
    /// True when what was shown under `lastSignature` must be made anew now.
    bool mayRebuild(std::string& lastSignature, const std::string& signature, bool always);
    void buildRows();
    void showMissingDevice();
    const std::shared_ptr<Image>& baseIcon();
    const std::shared_ptr<Image>& greenIcon();

    Application& application_;
    Images& images_;
    const Bundle& bundle_;
    MenuTarget* target_ = nullptr;
    MenuDelegate* delegate_ = nullptr;

    std::unique_ptr<StatusItem> statusItem_;
    std::shared_ptr<Image> baseIcon_;
    std::shared_ptr<Image> greenIcon_;
    std::shared_ptr<StatusItemMenu> menu_;
    std::shared_ptr<MenuItem> pairingItem_;
    std::shared_ptr<MenuItem> usbItem_;
    std::shared_ptr<MenuItem> btItem_;
    std::shared_ptr<MenuItem> phonesItem_;
    std::shared_ptr<MenuItem> alignItem_;
    std::shared_ptr<MenuItem> deviceItem_;
    std::shared_ptr<MenuItem> volumeItem_;

    bool isOpen_ = false;
    bool rebuildWhenClosed_ = false;
    std::string lastPhoneSignature_;
    std::string lastDeviceSignature_;
};

}  // namespace orvane
