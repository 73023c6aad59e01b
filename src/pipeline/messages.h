#pragma once

// Refusals of the attaching and the data calls. Hosts know these texts as they stand.
constexpr char MIXED_MODES_TEXT[] = "Cannot initialize converter: mixing separate channels mode "
                                    "and non-separate channels mode";
constexpr char NO_STREAM_TEXT[] = "Invalid bufstream parameter";
constexpr char MIXED_INPUT_TEXT[] = "Cannot converter data: mixing separate channels mode and "
                                    "non-separate channels mode";
constexpr char MIXED_FINISH_TEXT[] = "Cannot finish converting data for a channel: mixing separate "
                                     "channels mode and non-separate channels mode";
constexpr char AES3_PAIRS_TEXT[] = "Cannot convert data: AES3 input carries channel pairs";
