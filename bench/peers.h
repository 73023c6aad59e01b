#pragma once

#include "conversion.h"

// The libraries to measure against, each on one thread. Every maker gives null for a conversion
// that its library does not do by itself.

// libswresample as its users get it.
std::unique_ptr<stream_converter> makeSwresample(const conversion &wanted);

// The same with this library's mixing gains. Null when there is nothing to mix.
std::unique_ptr<stream_converter> makeSwresampleGains(const conversion &wanted);

// libswresample doing this library's work: double precision, the same window, cutoff, exact phases
// and mixing gains. Null when there is nothing to mix and nothing to resample. Its filter of 40
// taps grows by the rate ratio when the rate falls.
std::unique_ptr<stream_converter> makeSwresampleAlike(const conversion &wanted);

// The same with the filter kept at 40 taps when the rate falls, as this library keeps it. Null
// unless the rate falls.
std::unique_ptr<stream_converter> makeSwresampleShort(const conversion &wanted);

// libsoxr at its high quality.
std::unique_ptr<stream_converter> makeSoxr(const conversion &wanted);

// GStreamer's GstAudioConverter with its defaults.
std::unique_ptr<stream_converter> makeGstreamer(const conversion &wanted);

// One codec of libavcodec: bytes of a format that isNative says no to into native samples, or back.
std::unique_ptr<stream_converter> makeAvcodec(const conversion &wanted);

// What libavcodec decodes `shape` to and encodes it from.
stream_shape avcodecNativeShape(const stream_shape &shape);

// libavcodec for the ends that need it, libswresample for what is between.
std::unique_ptr<stream_converter> makeAvcodecSwresample(const conversion &wanted);

// The same with libsoxr for the rate. Null unless the rates differ.
std::unique_ptr<stream_converter> makeAvcodecSoxr(const conversion &wanted);
