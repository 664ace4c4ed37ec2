// The mosaics by pattern: of the sensor, and of the colours of its 2 by 2 cells.
#include "pipeline/reference/ImageProcess.h"

const int32_t pgprCFA[4][4] = {{3, 7, 3, 5}, {8, 4, 6, 4}, {3, 9, 3, 7}, {10, 4, 8, 4}};
const int32_t pbpgCFA[4][4] = {{3, 9, 3, 7}, {10, 4, 8, 4}, {3, 7, 3, 5}, {8, 4, 6, 4}};
const int32_t prpgCFA[4][4] = {{3, 5, 3, 7}, {6, 4, 8, 4}, {3, 7, 3, 9}, {8, 4, 10, 4}};
const int32_t pgpbCFA[4][4] = {{3, 7, 3, 9}, {8, 4, 10, 4}, {3, 5, 3, 7}, {6, 4, 8, 4}};

const int32_t grbgCFA[2][2] = {{1, 0}, {2, 1}};
const int32_t bggrCFA[2][2] = {{2, 1}, {1, 0}};
const int32_t rggbCFA[2][2] = {{0, 1}, {1, 2}};
const int32_t gbrgCFA[2][2] = {{1, 2}, {0, 1}};
