// Declarations of our own, for just what Orvane uses of CoreBluetooth.
#pragma once
#include <Foundation/Foundation.h>

typedef NS_ENUM(NSInteger, CBManagerAuthorization) {
    CBManagerAuthorizationRestricted = 1,
    CBManagerAuthorizationDenied = 2
} __attribute__((availability(macos, introduced = 10.15)));

@interface CBManager : NSObject
@property(class, readonly) CBManagerAuthorization authorization
    __attribute__((availability(macos, introduced=10.15)));
@end
