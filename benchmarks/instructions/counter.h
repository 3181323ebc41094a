/* What the counting plugin and the program under it agree on: descriptors that no
   file has. */
#pragma once

#define INSTRUCTIONS_DESCRIPTOR 1000
#define LANE_MOVES_DESCRIPTOR 1001
