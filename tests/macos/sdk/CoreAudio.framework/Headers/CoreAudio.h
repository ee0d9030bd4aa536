// Declarations of our own, for just what Orvane uses of CoreAudio.
#pragma once
#include <CoreFoundation/CoreFoundation.h>

typedef UInt32 AudioObjectID;
typedef UInt32 AudioObjectPropertySelector;
typedef UInt32 AudioObjectPropertyScope;
typedef UInt32 AudioObjectPropertyElement;
struct AudioObjectPropertyAddress {
    AudioObjectPropertySelector mSelector;
    AudioObjectPropertyScope mScope;
    AudioObjectPropertyElement mElement;
};
typedef struct AudioObjectPropertyAddress AudioObjectPropertyAddress;

enum { kAudioHardwareNoError = 0 };
enum { kAudioObjectSystemObject = 1 };
enum {
    kAudioObjectPropertyScopeGlobal = 'glob',
    kAudioObjectPropertyScopeInput = 'inpt',
    kAudioObjectPropertyScopeOutput = 'outp'
};
enum { kAudioHardwarePropertyDevices = 'dev#' };
enum { kAudioObjectPropertyName = 'lnam' };
enum {
    kAudioDevicePropertyDeviceUID = 'uid ',
    kAudioDevicePropertyVolumeScalar = 'volm',
    kAudioDevicePropertyStreamConfiguration = 'slay',
    kAudioDevicePropertyTransportType = 'tran',
    kAudioDeviceTransportTypeVirtual = 'virt'
};

struct AudioBuffer {
    UInt32 mNumberChannels;
    UInt32 mDataByteSize;
    void* mData;
};
typedef struct AudioBuffer AudioBuffer;
struct AudioBufferList {
    UInt32 mNumberBuffers;
    AudioBuffer mBuffers[1];
};
typedef struct AudioBufferList AudioBufferList;

extern "C" {
Boolean AudioObjectHasProperty(AudioObjectID inObjectID, const AudioObjectPropertyAddress* inAddress);
OSStatus AudioObjectGetPropertyDataSize(AudioObjectID inObjectID, const AudioObjectPropertyAddress* inAddress,
                                        UInt32 inQualifierDataSize, const void* inQualifierData,
                                        UInt32* outDataSize);
OSStatus AudioObjectGetPropertyData(AudioObjectID inObjectID, const AudioObjectPropertyAddress* inAddress,
                                    UInt32 inQualifierDataSize, const void* inQualifierData,
                                    UInt32* ioDataSize, void* outData);
OSStatus AudioObjectSetPropertyData(AudioObjectID inObjectID, const AudioObjectPropertyAddress* inAddress,
                                    UInt32 inQualifierDataSize, const void* inQualifierData,
                                    UInt32 inDataSize, const void* inData);
}
