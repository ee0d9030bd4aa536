// Declarations of our own, for just what Orvane uses of IOBluetooth.
#pragma once
#include <Foundation/Foundation.h>
#include <IOKit/IOReturn.h>

@class IOBluetoothDevice, IOBluetoothRFCOMMChannel;

typedef UInt8 BluetoothRFCOMMChannelID;
typedef UInt16 BluetoothRFCOMMMTU;

@interface IOBluetoothObject : NSObject <NSCopying>
@end
@interface IOBluetoothSDPUUID : NSData
@end
@interface IOBluetoothSDPServiceRecord : NSObject
- (BOOL)hasServiceFromArray:(NSArray*)array;
- (NSString*)getServiceName;
- (IOReturn)getRFCOMMChannelID:(BluetoothRFCOMMChannelID*)rfcommChannelID;
@end

@protocol IOBluetoothDeviceAsyncCallbacks
- (void)remoteNameRequestComplete:(IOBluetoothDevice*)device status:(IOReturn)status;
- (void)connectionComplete:(IOBluetoothDevice*)device status:(IOReturn)status;
- (void)sdpQueryComplete:(IOBluetoothDevice*)device status:(IOReturn)status;
@end
@interface IOBluetoothDevice : IOBluetoothObject
@property(readonly, copy) NSString* name;
@property(readonly, copy) NSString* addressString;
@property(readonly, copy) NSArray* services;
+ (NSArray*)pairedDevices;
+ (instancetype)deviceWithAddressString:(NSString*)address;
- (BOOL)isConnected;
- (IOReturn)openConnection:(id)target;
- (IOReturn)closeConnection;
- (IOReturn)performSDPQuery:(id)target;
- (IOBluetoothSDPServiceRecord*)getServiceRecordForUUID:(IOBluetoothSDPUUID*)sdpUUID;
- (IOReturn)openRFCOMMChannelAsync:(IOBluetoothRFCOMMChannel**)rfcommChannel
                     withChannelID:(BluetoothRFCOMMChannelID)channelID
                          delegate:(id)channelDelegate;
@end

typedef enum BluetoothHCIPowerState : UInt32 {
    kBluetoothHCIPowerStateOFF = 0x00,
    kBluetoothHCIPowerStateON = 0x01,
} BluetoothHCIPowerState;
@interface IOBluetoothHostController : NSObject
@property(readonly) BluetoothHCIPowerState powerState;
+ (instancetype)defaultController;
@end

@protocol IOBluetoothRFCOMMChannelDelegate <NSObject>
@optional
- (void)rfcommChannelData:(IOBluetoothRFCOMMChannel*)rfcommChannel
                     data:(void*)dataPointer
                   length:(size_t)dataLength;
- (void)rfcommChannelOpenComplete:(IOBluetoothRFCOMMChannel*)rfcommChannel status:(IOReturn)error;
- (void)rfcommChannelClosed:(IOBluetoothRFCOMMChannel*)rfcommChannel;
- (void)rfcommChannelWriteComplete:(IOBluetoothRFCOMMChannel*)rfcommChannel
                            refcon:(void*)refcon
                            status:(IOReturn)error;
@end
@interface IOBluetoothRFCOMMChannel : IOBluetoothObject
- (BluetoothRFCOMMMTU)getMTU;
- (IOReturn)writeAsync:(void*)data length:(UInt16)length refcon:(void*)refcon;
- (IOReturn)setDelegate:(id)delegate;
- (IOReturn)closeChannel;
@end
