#pragma once

/// Marks what libavrdecoder and libavrplatform export; everything else stays hidden.
#define AVR_API __attribute__((visibility("default")))
