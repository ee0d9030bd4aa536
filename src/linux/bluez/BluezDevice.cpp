#include "linux/bluez/BluezDevice.h"

#include "linux/bluez/BluezRfcommChannel.h"
#include "linux/bluez/BluezSocket.h"
#include "text/HarmlessText.h"

#include <algorithm>
#include <cerrno>
#include <span>
#include <utility>

namespace orvane {

namespace {

void take(const QVariantMap& properties, const char* name, std::string& value) {
    if (const auto found = properties.find(name); found != properties.end()) {
        value = found->toString().toStdString();
    }
}

void take(const QVariantMap& properties, const char* name, bool& value) {
    if (const auto found = properties.find(name); found != properties.end()) value = found->toBool();
}

/// What BlueZ gives as alias while it knows no name: the address with dashes.
std::string aliasOfNameless(std::string address) {
    std::replace(address.begin(), address.end(), ':', '-');
    return address;
}

/// True for the services of classic Bluetooth (SDP service classes, 0x1000 to 0x17FF; those of low energy
/// begin at 0x1800), and for services of somebody's own.
bool isClassic(const QString& uuid) {
    constexpr auto base = "-0000-1000-8000-00805f9b34fb";
    bool isNumber = false;
    const uint number = uuid.left(8).toUInt(&isNumber, 16);
    const bool isAssigned = isNumber && uuid.mid(8).toLower() == base;
    return !isAssigned || (number >= 0x1000 && number < 0x1800);
}

bool isSame(const std::weak_ptr<BluetoothQueryTarget>& one,
            const std::weak_ptr<BluetoothQueryTarget>& other) {
    return !one.owner_before(other) && !other.owner_before(one);
}

}  // namespace

void BluezDevice::update(const QVariantMap& properties) {
    take(properties, "Address", address_);
    take(properties, "Alias", alias_);
    take(properties, "Name", name_);
    take(properties, "Paired", paired_);
    take(properties, "Bonded", bonded_);
    take(properties, "Connected", connected_);
    std::string kind = randomAddress_ ? "random" : "public";
    take(properties, "AddressType", kind);
    randomAddress_ = kind == "random";
    if (const auto found = properties.find("Class"); found != properties.end())
        hasClass_ = found->toUInt() != 0;
    if (const auto found = properties.find("UUIDs"); found != properties.end())
        uuids_ = found->toStringList();
}

bool BluezDevice::lowEnergyOnly() const {
    return uuids_ && !hasClass_ && std::none_of(uuids_->begin(), uuids_->end(), isClassic);
}

void BluezDevice::forget() {
    paired_ = false;
    connected_ = false;
}

std::optional<std::string> BluezDevice::addressString() const {
    return address_.empty() ? std::nullopt : std::optional(address_);
}

std::optional<std::string> BluezDevice::name() const {
    const auto alias = alias_ == aliasOfNameless(address_) ? std::string() : nameFromOutside(alias_);
    const auto name = alias.empty() ? nameFromOutside(name_) : alias;
    return name.empty() ? std::nullopt : std::optional(name);
}

void BluezDevice::performSdpQuery(const std::weak_ptr<BluetoothQueryTarget>& target) {
    const bool idle = waiting_.empty();
    if (std::none_of(waiting_.begin(), waiting_.end(),
                     [&](const auto& other) { return isSame(other, target); })) {
        waiting_.push_back(target);
    }
    if (!idle) return;

    const auto remote = parseBluetoothAddress(address_);
    if (!remote) return failQuery(EINVAL);
    if (!startQuery(*remote)) failQuery(EAGAIN);
}

void BluezDevice::failQuery(BluetoothStatus status) {
    context_.runLoop.async([status, weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->queryEnded({status, {}});
    });
}

/// False when there is no thread for it.
bool BluezDevice::startQuery(const bdaddr_t& remote) {
    auto body = [query = context_.query, local = context_.adapter(), remote, &runLoop = context_.runLoop,
                 weak = weak_from_this()] {
        runLoop.async([weak, answer = query(local, remote)] {
            if (const auto self = weak.lock()) self->queryEnded(answer);
        });
    };
    return context_.threads.start("orvane.bt.sdp", std::move(body));
}

void BluezDevice::queryEnded(const BluezSdpAnswer& answer) {
    if (answer.status == bluetoothSuccess) records_ = answer.records;
    for (const auto& waiting : std::exchange(waiting_, {})) {
        if (const auto target = waiting.lock()) target->sdpQueryComplete(shared_from_this(), answer.status);
    }
}

std::shared_ptr<SdpServiceRecord> BluezDevice::serviceRecord(const BluetoothUuid& uuid) const {
    const auto found = std::find_if(records_.begin(), records_.end(), [&](const auto& record) {
        return record->hasServiceFromArray(std::span(&uuid, 1));
    });
    return found == records_.end() ? nullptr : *found;
}

std::vector<std::shared_ptr<SdpServiceRecord>> BluezDevice::services() const {
    return {records_.begin(), records_.end()};
}

BluetoothStatus BluezDevice::openRfcommChannelAsync(std::shared_ptr<RfcommChannel>& channel,
                                                    std::uint8_t channelId,
                                                    const std::weak_ptr<RfcommChannelDelegate>& delegate) {
    const auto remote = parseBluetoothAddress(address_);
    if (!remote) return EINVAL;
    BluetoothStatus status = bluetoothSuccess;
    Descriptor socket = startRfcommConnect(context_.adapter(), *remote, channelId, status);
    if (status != bluetoothSuccess) return status;
    channel = BluezRfcommChannel::make(std::move(socket), delegate);
    return bluetoothSuccess;
}

}  // namespace orvane
