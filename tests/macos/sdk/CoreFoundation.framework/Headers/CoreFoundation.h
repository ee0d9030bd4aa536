// Declarations of our own, for just what Orvane uses of CoreFoundation: they let the macOS layer be compiled
// and linked where Apple's SDK is not.
#pragma once
#include <MacTypes.h>
#include <objc/objc.h>
#include <stddef.h>
#include <stdint.h>

#define CF_ENUM(type, name)                                          \
    enum __attribute__((enum_extensibility(open))) name : type name; \
    enum __attribute__((enum_extensibility(open))) name : type
#define CF_OPTIONS(type, name) \
    type name;                 \
    enum __attribute__((flag_enum, enum_extensibility(open))) : name

typedef const struct __attribute__((objc_bridge(NSString))) __CFString* CFStringRef;

typedef double CGFloat;
struct CGPoint {
    CGFloat x;
    CGFloat y;
};
typedef struct CGPoint CGPoint;
struct CGSize {
    CGFloat width;
    CGFloat height;
};
typedef struct CGSize CGSize;
struct CGRect {
    CGPoint origin;
    CGSize size;
};
typedef struct CGRect CGRect;
