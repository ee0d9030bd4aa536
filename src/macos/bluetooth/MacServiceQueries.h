// Queries of devices' service records: connects first, since IOBluetooth may drop the query of a device that
// is not connected; asks a device once at a time; and ends every query, answered or not.
#pragma once

#include "macos/bluetooth/QueryBook.h"

#import <IOBluetooth/IOBluetooth.h>

#include <memory>

/// One for the whole process: IOBluetooth keeps no hold of whom it will call, and may call long after the
/// query has been given up.
@interface OrvaneServiceQueries : NSObject <IOBluetoothDeviceAsyncCallbacks>
- (instancetype)initWithRunLoop:(orvane::RunLoop&)runLoop;
- (void)ask:(IOBluetoothDevice*)device forTarget:(std::weak_ptr<orvane::BluetoothQueryTarget>)target;
@end
