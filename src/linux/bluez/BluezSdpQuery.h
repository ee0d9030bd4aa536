// Reading all service records of a device. Blocks, for a bounded time: for a thread of its own.
#pragma once

#include "linux/bluez/BluezSdpRecord.h"

#include <chrono>

#include <bluetooth/bluetooth.h>

namespace orvane {

struct BluezSdpAnswer {
    BluetoothStatus status = bluetoothSuccess;  ///< 0, or the errno of what went wrong.
    BluezSdpRecords records;                    ///< Each record once; empty on failure.
};

/// Paging an absent device takes five seconds, waking a sleeping one may take as long.
constexpr std::chrono::seconds sdpQueryLimit{15};

/// Connects to the device from the adapter `local` (all zero: any) and reads its records.
BluezSdpAnswer querySdp(const bdaddr_t& local, const bdaddr_t& remote);

}  // namespace orvane
