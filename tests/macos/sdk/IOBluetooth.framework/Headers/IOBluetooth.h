// Declarations of our own, for just what Orvane uses of IOBluetooth.
#pragma once
#include <Foundation/Foundation.h>
#include <IOKit/IOReturn.h>

@class IOBluetoothRFCOMMChannel;

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

@interface IOBluetoothDevice : IOBluetoothObject
@property(readonly, copy) NSString* name;
@property(readonly, copy) NSString* addressString;
@property(readonly, copy) NSArray* services;
+ (NSArray*)pairedDevices;
+ (instancetype)deviceWithAddressString:(NSString*)address;
- (BOOL)isConnected;
- (IOReturn)closeConnection;
- (IOReturn)performSDPQuery:(id)target;
- (IOBluetoothSDPServiceRecord*)getServiceRecordForUUID:(IOBluetoothSDPUUID*)sdpUUID;
- (IOReturn)openRFCOMMChannelAsync:(IOBluetoothRFCOMMChannel**)rfcommChannel
                     withChannelID:(BluetoothRFCOMMChannelID)channelID
                          delegate:(id)channelDelegate;
@end

@protocol IOBluetoothRFCOMMChannelDelegate <NSObject>
@optional
- (void)rfcommChannelData:(IOBluetoothRFCOMMChannel*)rfcommChannel
                     data:(void*)dataPointer
                   length:(size_t)dataLength;
- (void)rfcommChannelOpenComplete:(IOBluetoothRFCOMMChannel*)rfcommChannel status:(IOReturn)error;
- (void)rfcommChannelClosed:(IOBluetoothRFCOMMChannel*)rfcommChannel;
@end
@interface IOBluetoothRFCOMMChannel : IOBluetoothObject
- (BluetoothRFCOMMMTU)getMTU;
- (IOReturn)writeSync:(void*)data length:(UInt16)length;
- (IOReturn)setDelegate:(id)delegate;
- (IOReturn)closeChannel;
@end
