"""The bytes that stand in for audio: those of simulator/phone/Pattern.h."""


def pattern(count, begin=0):
    factor = 0x9E3779B97F4A7C15
    return bytes(((index + 1) * factor & 0xFFFFFFFFFFFFFFFF) >> 56 for index in range(begin, begin + count))
