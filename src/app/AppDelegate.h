// The one object that owns the running program: the status menu and everything it shows, the server process
// and its log, and the two bridges that bring phones to the server over USB and Bluetooth.
#pragma once

#include "app/ServerOutput.h"
#include "app/ServerProcess.h"
#include "menu/BluetoothMenu.h"
#include "menu/StatusMenu.h"
#include "model/LoopbackDevice.h"
#include "model/PhoneSession.h"
#include "model/SettingsFiles.h"
#include "platform/Menu.h"
#include "platform/Platform.h"
#include "platform/Surface.h"
#include "text/LogText.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvane {

class AdbBridge;
struct AdbState;
class BluetoothBridge;
struct BtState;

/// Made once with `make_shared` and kept until the process ends. Everything here happens on the main thread;
/// work that arrives on another hops to the main queue first. Blocks handed away hold the delegate weakly.
class AppDelegate : public MenuTarget,
                    public MenuDelegate,
                    public std::enable_shared_from_this<AppDelegate>,
                    private ServerProcess::Listener {
  public:
    /// The TCP port of the server, on this computer and on the phone's side of the USB tunnel.
    static constexpr std::uint16_t serverPort = 5555;

    /// The roles of `platform` outlive the delegate. `port` is where the server listens. Starts nothing.
    explicit AppDelegate(const Platform& platform, std::uint16_t port = serverPort);
    ~AppDelegate() override;

    // Life of the program.

    /// Builds the status menu and starts the server and the bridges. Called once, when the run loop is about
    /// to run.
    void applicationDidFinishLaunching();
    /// Stops the bridges and the server. Called once, on the way out of the run loop.
    void applicationWillTerminate();
    /// Ends the server without letting it restart, then the program.
    void quit();
    /// The computer was asleep: looks at once how the phones are linked.
    void systemDidWake();

    // The server and its log.

    void startServer();
    /// Replaces the running server by a new one. Blocks until the old one is gone: both use the same port.
    void restart();
    void showLog();
    /// Adds text to the log and follows every status line in it. Each text is cut into lines on its own:
    /// nothing is carried over to the next.
    void ingest(std::string_view text);

    // The status item and its menus.

    /// The one way to change the status row and the icon.
    void setStatus(const std::string& text, bool connected);
    void rebuildPhoneMenu();
    void rebuildDeviceMenu();
    void rebuildBluetoothMenu();
    /// Shows the warning row when the device's volume is turned down, hides it otherwise.
    void refreshVolumeWarning(const std::string& uid, const std::string& name);
    void menuNeedsUpdate(Menu& menu) override;
    void menuWillOpen(Menu& menu) override;
    void menuDidClose(Menu& menu) override;

    // The commands of the menu. One that changes a setting writes the file first, then its line in the log,
    // then restarts the server.

    /// Runs the row's command. While a dialog waits for its answer, only quitting is possible.
    void perform(MenuItem& item) override;
    void copyPairingCode();
    void newPairingCode();
    void usbHelp();
    void pickBluetooth(const MenuItem& sender);
    void pickPhoneChannel(const MenuItem& sender);
    void toggleAlign();
    void pickDevice(const MenuItem& sender);
    void installBlackHole();
    void fixDeviceVolume();

    // State, to be read.

    const LogText& log() const { return log_; }
    const std::vector<LoopbackDevice>& devices() const { return devices_; }
    const std::vector<PhoneSession>& phones() const { return phones_; }
    const std::optional<std::string>& pairingCode() const { return pairingCode_; }
    bool driverMissing() const { return driverMissing_; }
    bool alignStreams() const { return alignStreams_; }
    std::int64_t restarts() const { return server_->restarts(); }
    const std::string& chosenUid() const { return chosenUid_; }
    std::int64_t chosenChannel() const { return chosenChannel_; }
    AdbBridge& adb() { return *adb_; }
    BluetoothBridge& bt() { return *bt_; }

  private:
    void usbChanged(const AdbState& state);
    void startBluetooth();
    void bluetoothChanged(const BtState& state);
    void bluetoothRefused();
    void linksChanged();

    void serverPrinted(std::string_view text) override;
    void serverLaunched() override;
    void serverNotLaunched(const std::string& error) override;
    void serverExited(std::int32_t status, std::int64_t delay) override;

    void follow(DevicesListed event);
    void follow(PhonesListed event);
    void follow(AlignmentReported event);
    void follow(PairingCodeAnnounced event);
    void follow(ConnectionReport event);
    void follow(RoutingReport event);

    void setAlign(bool align);
    void setPairingCode(const std::optional<std::string>& code);
    void checkVolumeAgain();
    void writeDeviceFile();
    void copy(const std::string& text);
    int runAlert(const Alert& alert);
    void openPage(const std::string& url);
    /// For a page that no browser could be opened for.
    void offerAddress(const std::string& url);

    Platform platform_;
    SettingsFiles settingsFiles_;
    StatusMenu statusMenu_;
    std::optional<BluetoothChoices> shownBluetooth_;  ///< What the Bluetooth submenu shows.
    std::shared_ptr<ServerProcess> server_;
    ServerOutput output_;
    LogText log_;
    std::unique_ptr<LogWindow> logWindow_;  ///< Made on first use.

    std::vector<LoopbackDevice> devices_;
    std::vector<PhoneSession> phones_;
    bool driverMissing_ = false;  ///< The server routes to the default output for want of a loopback device.
    bool alignStreams_ = true;
    std::optional<std::string> pairingCode_;

    std::string chosenUid_;
    std::int64_t chosenChannel_ = 0;
    /// UID and name of a device.
    using VolumeCheck = std::pair<std::string, std::string>;
    std::optional<VolumeCheck> volumeChecked_;  ///< The last one.
    std::optional<VolumeCheck> volumeDue_;      ///< To be made at the end of the text that is being read.
    PinnedChannels pinnedChannels_;             ///< Phones that have gone keep theirs.
    bool alertShown_ = false;

    std::shared_ptr<AdbBridge> adb_;
    std::shared_ptr<BluetoothBridge> bt_;
};

}  // namespace orvane
