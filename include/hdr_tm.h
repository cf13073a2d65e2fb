// libhdr_tm: HDR tone-mapping LUTs for the display stack. Umbrella header.
#pragma once

#include "hdr_playback.h"
#include "tm_params.h"
#include "tm_stages.h"
