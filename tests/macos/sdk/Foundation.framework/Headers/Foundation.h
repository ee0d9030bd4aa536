// Declarations of our own, for just what Orvane uses of Foundation.
#pragma once
#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>
#include <objc/NSObject.h>
#include <objc/objc.h>
#include <objc/runtime.h>

#define NS_ENUM(type, name) CF_ENUM(type, name)
#define NS_OPTIONS(type, name) CF_OPTIONS(type, name)
#define FOUNDATION_EXPORT extern "C"
#define NS_FORMAT_FUNCTION(format_, first) __attribute__((format(__NSString__, format_, first)))
#define NS_RETURNS_INNER_POINTER __attribute__((objc_returns_inner_pointer))
#define NS_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define NS_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")

NS_ASSUME_NONNULL_BEGIN

@class NSData, NSDate, NSDictionary<__covariant KeyType, __covariant ObjectType>, NSError, NSString, NSURL;

typedef double NSTimeInterval;
typedef CGPoint NSPoint;
typedef CGSize NSSize;
typedef CGRect NSRect;
typedef NSString* NSExceptionName;
typedef NSString* NSFileAttributeKey;
typedef NSString* NSNotificationName;
typedef NSString* NSRunLoopMode;
typedef struct _NSZone NSZone;
typedef struct _NSRange {
    NSUInteger location;
    NSUInteger length;
} NSRange;

static inline NSRange NSMakeRange(NSUInteger location, NSUInteger length) { return {location, length}; }
static inline NSSize NSMakeSize(CGFloat width, CGFloat height) { return {width, height}; }
static inline NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
    return {{x, y}, {width, height}};
}

typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding { NSUTF8StringEncoding = 4, NSISOLatin1StringEncoding = 5 };

@protocol NSCopying
- (id)copyWithZone:(nullable NSZone*)zone;
@end
@protocol NSMutableCopying
- (id)mutableCopyWithZone:(nullable NSZone*)zone;
@end

typedef struct {
    unsigned long state;
    id __unsafe_unretained _Nullable* _Nullable itemsPtr;
    unsigned long* _Nullable mutationsPtr;
    unsigned long extra[5];
} NSFastEnumerationState;
@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)len;
@end

@interface NSString : NSObject <NSCopying, NSMutableCopying>
@property(readonly) NSUInteger length;
@end
@interface NSString (NSStringExtensionMethods)
- (NSString*)stringByAppendingString:(NSString*)aString;
- (nullable NSData*)dataUsingEncoding:(NSStringEncoding)encoding allowLossyConversion:(BOOL)lossy;
- (nullable instancetype)initWithBytes:(const void*)bytes
                                length:(NSUInteger)len
                              encoding:(NSStringEncoding)encoding;
- (BOOL)writeToURL:(NSURL*)url
        atomically:(BOOL)useAuxiliaryFile
          encoding:(NSStringEncoding)enc
             error:(NSError**)error;
@end
@interface NSString (NSStringPathExtensions)
@property(readonly, copy) NSString* pathExtension;
@property(readonly, copy) NSString* stringByDeletingPathExtension;
- (nullable NSString*)stringByAppendingPathExtension:(NSString*)str;
@end

/// What the compiler makes of @"…".
@interface NSSimpleCString : NSString {
   @package
    char* bytes;
    int numBytes;
    int _unused;
}
@end
@interface NSConstantString : NSSimpleCString
@end

@interface NSAttributedString : NSObject <NSCopying, NSMutableCopying>
@property(readonly) NSUInteger length;
@end
@interface NSMutableAttributedString : NSAttributedString
- (void)replaceCharactersInRange:(NSRange)range withString:(NSString*)str;
@end

@interface NSArray<__covariant ObjectType> : NSObject <NSCopying, NSMutableCopying, NSFastEnumeration>
+ (instancetype)array;
@property(nullable, readonly) ObjectType lastObject;
@end
@interface NSMutableArray<ObjectType> : NSArray <ObjectType>
- (void)addObject:(ObjectType)anObject;
- (void)removeObject:(ObjectType)anObject;
@end

@interface NSData : NSObject <NSCopying, NSMutableCopying>
@property(readonly) NSUInteger length;
@property(readonly) const void* bytes NS_RETURNS_INNER_POINTER;
- (instancetype)initWithBytes:(nullable const void*)bytes length:(NSUInteger)length;
@end

@interface NSURL : NSObject <NSCopying>
+ (NSURL*)fileURLWithPath:(NSString*)path;
+ (nullable instancetype)URLWithString:(NSString*)URLString;
@property(nullable, readonly, copy) NSString* path;
@end

@interface NSError : NSObject <NSCopying>
@property(readonly, copy) NSString* localizedDescription;
@end

@interface NSException : NSObject <NSCopying>
@property(nullable, readonly, copy) NSString* reason;
@end

@interface NSNotification : NSObject <NSCopying>
@end
@interface NSNotificationCenter : NSObject
@property(class, readonly, strong) NSNotificationCenter* defaultCenter;
- (void)addObserver:(id)observer
           selector:(SEL)aSelector
               name:(nullable NSNotificationName)aName
             object:(nullable id)anObject;
@end

@interface NSBundle : NSObject
@property(class, readonly, strong) NSBundle* mainBundle;
@property(nullable, readonly, copy) NSString* bundleIdentifier;
@property(nullable, readonly, copy) NSString* executablePath;
@property(nullable, readonly, copy) NSURL* resourceURL;
@end

@interface NSUserDefaults : NSObject
@property(class, readonly, strong) NSUserDefaults* standardUserDefaults;
- (nullable NSString*)stringForKey:(NSString*)defaultName;
- (void)setObject:(nullable id)value forKey:(NSString*)defaultName;
@end

@interface NSFileManager : NSObject
@property(class, readonly, strong) NSFileManager* defaultManager;
@property(readonly, copy) NSURL* homeDirectoryForCurrentUser;
- (BOOL)fileExistsAtPath:(NSString*)path isDirectory:(nullable BOOL*)isDirectory;
- (BOOL)isExecutableFileAtPath:(NSString*)path;
- (BOOL)createDirectoryAtURL:(NSURL*)url
    withIntermediateDirectories:(BOOL)createIntermediates
                     attributes:(nullable NSDictionary<NSFileAttributeKey, id>*)attributes
                          error:(NSError**)error;
- (BOOL)removeItemAtURL:(NSURL*)URL error:(NSError**)error;
@end

@interface NSFileHandle : NSObject
@property(readonly, copy) NSData* availableData;
@property(readonly) int fileDescriptor;
@property(nullable, copy) void (^readabilityHandler)(NSFileHandle*);
- (NSData*)readDataToEndOfFile;
- (BOOL)closeAndReturnError:(NSError**)error __attribute__((availability(macos, introduced = 10.15)));
@end
@interface NSPipe : NSObject
+ (NSPipe*)pipe;
@property(readonly, retain) NSFileHandle* fileHandleForReading;
@property(readonly, retain) NSFileHandle* fileHandleForWriting;
@end

@interface NSDate : NSObject
@property(readonly) NSTimeInterval timeIntervalSinceNow;
+ (instancetype)dateWithTimeIntervalSinceNow:(NSTimeInterval)secs;
@end

@interface NSTask : NSObject
@property(nullable, copy) NSURL* executableURL;
@property(nullable, copy) NSArray<NSString*>* arguments;
@property(nullable, retain) id standardOutput;
@property(nullable, retain) id standardError;
@property(nullable, copy) void (^terminationHandler)(NSTask*);
@property(readonly) int processIdentifier;
@property(readonly, getter=isRunning) BOOL running;
@property(readonly) int terminationStatus;
- (instancetype)init;
- (BOOL)launchAndReturnError:(out NSError** _Nullable)error;
- (void)terminate;
@end

@interface NSTimer : NSObject
+ (NSTimer*)scheduledTimerWithTimeInterval:(NSTimeInterval)interval
                                   repeats:(BOOL)repeats
                                     block:(void (^)(NSTimer* timer))block;
- (void)invalidate;
@end
@interface NSRunLoop : NSObject
@property(class, readonly, strong) NSRunLoop* mainRunLoop;
@property(class, readonly, strong) NSRunLoop* currentRunLoop;
- (BOOL)runMode:(NSRunLoopMode)mode beforeDate:(NSDate*)limitDate;
- (void)addTimer:(NSTimer*)timer forMode:(NSRunLoopMode)mode;
@end
FOUNDATION_EXPORT NSRunLoopMode const NSRunLoopCommonModes;
FOUNDATION_EXPORT NSRunLoopMode const NSDefaultRunLoopMode;

typedef NS_OPTIONS(uint64_t, NSActivityOptions) {
    NSActivityUserInitiated = 0x00FFFFFFULL,
    NSActivityLatencyCritical = 0xFF00000000ULL
};
@interface NSProcessInfo : NSObject
@property(class, readonly, strong) NSProcessInfo* processInfo;
- (id<NSObject>)beginActivityWithOptions:(NSActivityOptions)options reason:(NSString*)reason;
- (void)endActivity:(id<NSObject>)activity;
@end

@interface NSThread : NSObject
@property(nullable, copy) NSString* name;
- (instancetype)initWithBlock:(void (^)(void))block;
- (void)start;
@end
@interface NSObject (NSThreadPerformAdditions)
- (void)performSelectorOnMainThread:(SEL)aSelector
                         withObject:(nullable id)arg
                      waitUntilDone:(BOOL)wait
                              modes:(nullable NSArray<NSString*>*)array;
@end

FOUNDATION_EXPORT NSString* NSTemporaryDirectory(void);
FOUNDATION_EXPORT void NSLog(NSString* format, ...) NS_FORMAT_FUNCTION(1, 2);

NS_ASSUME_NONNULL_END
