// Declarations of our own, for just what Orvane uses of IOKit.
#pragma once
#include <mach/error.h>
#include <mach/kern_return.h>

typedef kern_return_t IOReturn;
#define kIOReturnSuccess KERN_SUCCESS
#define kIOReturnError (err_system(0x38) | err_sub(0) | 0x2bc)
#define kIOReturnTimeout (err_system(0x38) | err_sub(0) | 0x2d6)
