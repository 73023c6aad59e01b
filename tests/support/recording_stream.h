#pragma once

#include "zt_trans_audio_converter.h"

#include <functional>
#include <string>
#include <vector>

// An output stream that keeps what it is given, watches the order of the calls and guards the
// bytes around every area.
struct recording_stream : bufstream {
    recording_stream();

    // Room reported for the next area, asked once per reserve; by default ample. The
    // area itself is never larger than what is wanted.
    std::function<uint32_t(uint32_t want)> room;
    // True when the next reserve shall give null; by default never.
    std::function<bool()> refuses;
    // Where calls are noted as "r0 f0 c0 a0 ", the digit being `slot`; may be shared by streams.
    std::string *journal = nullptr;
    int slot = 0;

    std::vector<uint8_t> bytes;   // committed
    std::vector<uint32_t> chunks; // bytes of every commit
    std::vector<uint32_t> wants;  // byte_count of every reserve
    std::string faults;           // breaches of the contract; empty when all is well

    bool guardsIntact() const;

    std::vector<uint8_t> guarded_area;
    uint32_t area_bytes = 0;
    uint32_t reported_room = 0;
    char last_call = 'a';
    uint32_t last_commit = 0;
};
