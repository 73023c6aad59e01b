// The part of a plan that becomes the library's settings record.
#pragma once

#include "plan.h"

// Fills the settings, masks, orders and output_bytes of a plan.
void settleSettings(conversion_plan &plan, const tool_options &options,
                    const std::vector<source_description> &sources);
