#include "macos/system/MacFileManager.h"

#include "macos/system/MacSystemLog.h"
#include "macos/system/Text.h"
#include "posix/WritableByAll.h"

#import <Foundation/Foundation.h>

namespace orvane {

namespace {

NSURL* fileUrl(const std::string& path) { return [NSURL fileURLWithPath:toNSString(path)]; }

}  // namespace

std::string MacFileManager::homeDirectory() const {
    return toString(NSFileManager.defaultManager.homeDirectoryForCurrentUser.path);
}

bool MacFileManager::isExecutableFile(const std::string& path) const {
    NSString* file = toNSString(path);
    // A folder that may be searched counts as executable, too.
    BOOL isFolder = NO;
    return [NSFileManager.defaultManager fileExistsAtPath:file isDirectory:&isFolder] && !isFolder &&
           [NSFileManager.defaultManager isExecutableFileAtPath:file];
}

bool MacFileManager::createDirectory(const std::string& path) {
    return [NSFileManager.defaultManager createDirectoryAtURL:fileUrl(path)
                                  withIntermediateDirectories:YES
                                                   attributes:nil
                                                        error:nil];
}

void MacFileManager::closeToOthers(const std::string& folder) {
    for (const std::string& path : writableByAll(folder)) {
        if (orvane::closeToOthers(path))
            logToSystem("Orvane: " + path + " was open to everybody's writing; not any more");
    }
}

bool MacFileManager::writeAtomically(const std::string& path, std::string_view text) {
    NSError* error = nil;
    if ([toNSString(text) writeToURL:fileUrl(path) atomically:YES encoding:NSUTF8StringEncoding error:&error])
        return true;
    logToSystem("Orvane: " + path + " could not be written: " + toString(error.localizedDescription));
    return false;
}

bool MacFileManager::removeItem(const std::string& path) {
    return [NSFileManager.defaultManager removeItemAtURL:fileUrl(path) error:nil];
}

}  // namespace orvane
