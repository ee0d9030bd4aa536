#!/usr/bin/env python3
"""test_check_objc.py [ZIG [flag...]]: seeds a fault of each kind into copies of the declarations and of the layer's files, and expects
check_objc.py to report every one of them, at its place. One run finds the faults of the declarations, another those of the layer."""
import pathlib, re, shutil, subprocess, sys, tempfile

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]

# (file of tests/macos/sdk, text, the faulty text in its place, what the report must say)
DECLARATIONS = [
    ("AppKit", "@interface NSTextStorage :", "@interface NSTextStoragee :", "class NSTextStoragee is not in the facts"),
    ("AppKit", "@interface NSPasteboard : NSObject", "@interface NSPasteboard : NSView", "class NSPasteboard: superclass NSView"),
    ("AppKit", "- (void)removeStatusItem:", "- (void)removeStatusitem:", "removeStatusitem:] does not exist"),
    ("AppKit", "+ (nullable NSImageRep*)imageRepWithContentsOfFile:", "- (nullable NSImageRep*)imageRepWithContentsOfFile:", "wrong kind"),
    ("AppKit", "- (NSInteger)clearContents;", "- (int)clearContents;", "clearContents]: returns 'int'"),
    ("AppKit", "- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)", "- (BOOL)setActivationPolicy:(int)", "setActivationPolicy:]: argument 1 'int'"),
    ("AppKit", "- (void)addSubview:(NSView*)view;", "- (void)addSubview:(NSString*)view;", "addSubview:]: argument 1 NSString"),
    ("AppKit", "@property(copy) NSString* messageText;", "@property(copy) NSString* messagetext;", "messagetext] does not exist"),
    ("AppKit", "@property BOOL hasVerticalScroller;", "@property NSInteger hasVerticalScroller;", "hasVerticalScroller]: returns"),
    ("AppKit", "@property(nullable, strong) NSFont* font;", "@property(nullable, strong) NSColor* font;", "font]: returns NSColor"),
    ("AppKit", "NSModalResponseAbort = -1001", "NSModalResponseAbort = -1000", "constant NSModalResponseAbort = -1000"),
    ("AppKit", "NSWindowStyleMaskResizable = 1 << 3", "NSWindowStyleMaskResizable = 1 << 4", "constant NSWindowStyleMaskResizable = 16"),
    ("AppKit", "NSBackingStoreBuffered = 2", "NSBackingStoreBufferd = 2", "constant NSBackingStoreBufferd is not in the facts"),
    ("AppKit", "void NSRectFillUsingOperation(NSRect rect,", "void NSRectFillUsingOperation(NSRect* rect,", "NSRectFillUsingOperation(): argument 1"),
    ("AppKit", "NSPasteboardType const NSPasteboardTypeString;", "NSPasteboardType const NSPasteboardTypeText;", "extern NSPasteboardTypeText is not in the facts"),
    ("AppKit", "NSFontWeight const NSFontWeightRegular;", "NSInteger const NSFontWeightRegular;", "extern NSFontWeightRegular: encoding"),
    ("AppKit", "- (void)menuDidClose:(NSMenu*)menu;", "- (void)menuDidClos:(NSMenu*)menu;", "[NSMenuDelegate menuDidClos:] does not exist"),
    ("AppKit", "- (void)menuWillOpen:(NSMenu*)menu;", "- (void)menuWillOpen:(NSInteger)menu;", "menuWillOpen:]: argument 1"),
    ("AppKit", "@protocol NSAccessibility <NSObject>", "@protocol NSAccessability\n@optional\n@property int size;\n@end\n@protocol NSAccessibility <NSObject>",
     "protocol NSAccessability is not in the facts"),
    ("AppKit", "- (NSButton*)addButtonWithTitle:", "- (NSAlert*)addButtonWithTitle:", "addButtonWithTitle:]: returns NSAlert"),
    ("Foundation", "typedef double NSTimeInterval;", "typedef float NSTimeInterval;", "typedef NSTimeInterval: encoding f"),
    ("Foundation", "NSISOLatin1StringEncoding = 5", "NSISOLatin1StringEncoding = 6", "constant NSISOLatin1StringEncoding = 6"),
    ("Foundation", "@property(readonly) int terminationStatus;", "@property(readonly) long terminationStatus;", "terminationStatus]: returns"),
    ("Foundation", "- (BOOL)launchAndReturnError:(out NSError** _Nullable)error;", "- (BOOL)launchAndReturnError:(NSError*)error;", "launchAndReturnError:]: argument 1"),
    ("Foundation", "- (instancetype)initWithBlock:(void (^)(void))block;", "- (instancetype)initWithBlock:(void (*)(void))block;", "initWithBlock:]: argument 1"),
    ("Foundation", "block:(void (^)(NSTimer* timer))block;", "block:(void (^)(NSTimer* timer, int count))block;", "repeats:block:]: argument 3"),
    ("Foundation", "+ (NSPipe*)pipe;", "+ (NSPipe*)pipes;", "+[NSPipe pipes] does not exist"),
    ("Foundation", "NSActivityUserInitiated = 0x00FFFFFFULL", "NSActivityUserInitiated = 0x00FFFFFEULL", "constant NSActivityUserInitiated = 16777214"),
    ("Foundation", "    NSUInteger length;\n} NSRange;", "    NSUInteger size;\n} NSRange;", "struct"),
    ("CoreAudio", "'volm'", "'vold'", "constant kAudioDevicePropertyVolumeScalar"),
    ("CoreAudio", "typedef UInt32 AudioObjectPropertyScope;", "typedef UInt16 AudioObjectPropertyScope;", "typedef AudioObjectPropertyScope: encoding S"),
    ("CoreAudio", "Boolean AudioObjectHasProperty(AudioObjectID inObjectID, const AudioObjectPropertyAddress* inAddress);",
     "Boolean AudioObjectHasProperty(AudioObjectID inObjectID);", "AudioObjectHasProperty(): 1 arguments"),
    ("CoreAudio", "OSStatus AudioObjectSetPropertyData(", "void AudioObjectSetPropertyData(", "AudioObjectSetPropertyData(): return"),
    ("IOBluetooth", "typedef UInt16 BluetoothRFCOMMMTU;", "typedef UInt32 BluetoothRFCOMMMTU;", "getMTU]: returns"),
    ("IOBluetooth", "length:(size_t)dataLength;", "length:(UInt16)dataLength;", "rfcommChannelData:data:length:]: argument 3"),
    ("IOBluetooth", "- (IOReturn)setDelegate:(id)delegate;", "- (void)setDelegate:(id)delegate;", "setDelegate:]: returns"),
    ("IOBluetooth", "- (IOReturn)openConnection:(id)target;", "- (IOReturn)openConnexion:(id)target;", "openConnexion:] does not exist"),
    ("IOBluetooth", "@interface IOBluetoothSDPUUID : NSData", "@interface IOBluetoothSDPUUID : NSURL", "class IOBluetoothSDPUUID: superclass NSURL"),
    ("AppKit.tbd", "Versions/C/AppKit", "Versions/A/AppKit", "install-name"),
    ("AppKit.tbd", "NSAlert,", "NSAlertt,", "class NSAlertt is not in the facts"),
    ("Foundation.tbd", "NSBundle,", "NSBundle, NSMenu,", "class NSMenu is declared by AppKit"),
    ("CoreAudio.tbd", "_AudioObjectHasProperty", "_AudioObjectHasPropertyy", "_AudioObjectHasPropertyy is not in the facts"),
]

# (file of src/macos, text, the faulty text in its place, what the report must say)
LAYER = [
    ("desktop/MacMenu.mm", "- (void)menuDidClose:", "- (void)menuDidClos:", "[OrvaneMenuDelegate menuDidClos:] is close to NSMenuDelegate's menuDidClose:"),
    ("desktop/MacMenu.mm", "- (void)menuWillOpen:", "- (void)menuwillOpen:", "[OrvaneMenuDelegate menuwillOpen:] is close to"),
    ("desktop/MacMenu.mm", "- (void)menuNeedsUpdate:", "+ (void)menuNeedsUpdate:", "+[OrvaneMenuDelegate menuNeedsUpdate:] is of the wrong kind"),
    ("main.mm", "- (void)applicationWillTerminate:", "- (void)applicationWillEnd:", "[OrvaneAppDelegate applicationWillEnd:]"),
    ("main.mm", "- (void)applicationDidFinishLaunching:", "- (void)applicationDidFinishedLaunching:", "applicationDidFinishedLaunching:] is close to"),
    ("main.mm", "hasVisibleWindows:(BOOL)__unused hasVisibleWindows {", "hasVisibleWindow:(BOOL)__unused hasVisibleWindows {", "applicationShouldHandleReopen:hasVisibleWindow:] is close to"),
    ("main.mm", "selector:@selector(systemDidWake:)", "selector:@selector(systemDidAwake:)", "selector systemDidAwake: is used"),
    ("bluetooth/MacBluetoothDevice.mm", "- (void)sdpQueryComplete:(IOBluetoothDevice*)device status:", "- (void)sdpQueryCompleted:(IOBluetoothDevice*)device status:", "sdpQueryCompleted:status:] is close to"),
    ("bluetooth/MacBluetoothDevice.mm", "- (void)connectionComplete:(IOBluetoothDevice*)device status:", "- (void)connectionComplete:(IOBluetoothDevice*)device state:", "connectionComplete:state:] is close to"),
    ("bluetooth/MacRfcommChannel.mm", "- (void)rfcommChannelClosed:", "- (void)rfcommChannelClose:", "rfcommChannelClose:] is close to"),
    ("bluetooth/MacRfcommChannel.mm", "- (void)rfcommChannelOpenComplete:(IOBluetoothRFCOMMChannel*)__unused rfcommChannel status:", "- (void)rfcommChannelOpenComplete:(IOBluetoothRFCOMMChannel*)__unused rfcommChannel error:", "rfcommChannelOpenComplete:error:] is close to"),
    ("system/MacRunLoop.mm", "namespace orvane {", "void lookUp() { (void)NSClassFromString(@\"NSAlerrt\"); }\nnamespace orvane {", "NSClassFromString(@\"NSAlerrt\") is not in the facts"),
    ("system/MacThreads.mm", "namespace orvane {", "@interface NSThread (Made)\n- (void)startLater;\n@end\nvoid misuse(NSThread* thread) { [thread startLater]; }\nnamespace orvane {", "selector startLater is used"),
    ("system/MacPipe.mm", "namespace orvane {", "extern \"C\" void NSMadeUpFunction(void);\nvoid call() { NSMadeUpFunction(); }\nnamespace orvane {", "NSMadeUpFunction() is called"),
    ("system/MacFileManager.mm", "namespace orvane {", "extern NSString* const NSMadeUpKey;\nNSString* key() { return NSMadeUpKey; }\nnamespace orvane {", "extern NSMadeUpKey is used"),
    ("system/MacAudioHardware.mm", "namespace orvane {", "@interface NSMadeUp : NSObject\n@end\nid made() { return [[NSMadeUp alloc] init]; }\nnamespace orvane {", "class NSMadeUp is used"),
    ("desktop/MacImages.mm", "namespace orvane {", "@interface OrvaneIdle : NSObject\n@end\n@implementation OrvaneIdle\n- (void)nobodyCallsThis {\n}\n@end\nnamespace orvane {", "[OrvaneIdle nobodyCallsThis] is in no protocol or superclass"),
    ("desktop/MacLogWindow.mm", "namespace orvane {", "this does not compile\nnamespace orvane {", "clang:"),
]


def seed(folder, faults, path_of):
    for name, text, fault, _ in faults:
        path = folder / path_of(name)
        before = path.read_text()
        assert text in before, f"{path.name} has no longer: {text}"
        path.write_text(before.replace(text, fault, 1))


def header_or_tbd(name):
    framework = name.removesuffix(".tbd")
    return f"{framework}.framework/" + (name if name.endswith(".tbd") else f"Headers/{framework}.h")


def check(zig, declarations, files, flags):
    run = subprocess.run([sys.executable, HERE / "check_objc.py", "--zig", zig, "--stubs", declarations, *files, "--", *flags],
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    return run.returncode, [line for line in run.stdout.splitlines() if line.startswith(("ERROR", "WARN"))], run.stdout


def missed(faults, reports):
    return [fault for fault in faults if not any(fault[3] in report for report in reports)]


def main():
    zig, flags = (sys.argv[1:2] or ["zig"])[0], sys.argv[2:]
    failures = []
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        sdk, layer = folder / "sdk", folder / "src/macos"
        shutil.copytree(HERE / "sdk", sdk)
        seed(sdk, DECLARATIONS, header_or_tbd)
        shutil.copytree(ROOT / "src/macos", layer)
        seed(layer, LAYER, str)
        for faults, arguments in ((DECLARATIONS, (sdk, [])),
                                  (LAYER, (HERE / "sdk", [*sorted(layer.rglob("*.mm")), *sorted(layer.rglob("*.h"))]))):
            status, reports, output = check(zig, *arguments, [f"-I{folder}/src", f"-I{ROOT}/src", *flags])
            unseen = missed(faults, reports)
            failures += [f"{fault[0]}: {fault[2]!r} was not found (expected: {fault[3]})" for fault in unseen]
            if status != 1:
                failures.append(f"check_objc.py ended with {status}:\n{output}")
            print(f"{len(faults) - len(unseen)} of {len(faults)} seeded faults found")
    sys.exit("\n".join(failures) or 0)


main()
