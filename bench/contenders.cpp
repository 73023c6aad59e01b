#include "contenders.h"

#include "own_converter.h"
#include "peers.h"

namespace {

const contender CONTENDERS[] = {
    {"ours", makeOwnConverter},
#ifdef BENCH_SWRESAMPLE
    {"swresample-alike", makeSwresampleAlike},
    {"swresample-short", makeSwresampleShort},
    {"swresample", makeSwresample},
    {"swresample-gains", makeSwresampleGains},
#endif
#ifdef BENCH_SOXR
    {"soxr", makeSoxr},
#endif
#ifdef BENCH_GSTREAMER
    {"gstreamer", makeGstreamer},
#endif
#ifdef BENCH_AVCODEC
    {"avcodec", makeAvcodecSwresample},
#endif
#if defined(BENCH_AVCODEC) && defined(BENCH_SOXR)
    {"avcodec-soxr", makeAvcodecSoxr},
#endif
};

} // namespace

std::span<const contender> contenders() {
    return CONTENDERS;
}
