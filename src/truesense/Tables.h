// The tables shared by the TrueSense engines. All read-only and process-wide.
//
// L12 is a linear sample, 0 to 4095; G10 a 10-bit gamma code, 0 to 1023.
#ifndef ORV_TRUESENSE_TABLES_H
#define ORV_TRUESENSE_TABLES_H

#include <cstdint>

extern const int32_t (&Gamma10toLinear12)[1024];   // G10 to L12
extern const int32_t (&Linear12toGamma10)[4096];   // L12 to G10
extern const int16_t (&Tonescale12)[4096];         // L12 to an 8-bit tone, 0 to 255
extern const int16_t (&Tonescale12Table12)[4096];  // L12 to a 12-bit tone, 0 to 4095

// The same tables under the names of the parallel engines.
extern const int32_t (&Gamma10toLinear12Table)[1024];
extern const int32_t (&Linear12toGamma10Table)[4096];
extern const int16_t (&Tonescale12Table)[4096];

#endif
