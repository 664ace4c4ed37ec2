/// \file
/// Version of libOrvDemosaicing, libOrvHelpers and libOrvMisc, which are released together.
///
/// Self-contained; usable from C99 and C++11 on. OrvImage.h, and so every other header, includes it.
#ifndef ORV_VERSION_H
#define ORV_VERSION_H

// The build reads these lines.
#define ORV_VERSION_MAJOR 1  ///< changes with the binary interface, and with it the names of the shared objects
#define ORV_VERSION_MINOR 0  ///< changes with additions
#define ORV_VERSION_PATCH 0  ///< changes with each release between

/// As one number, to compare: 10203 is 1.2.3. What is loaded may be newer: OrvHelpers_Version() tells.
#define ORV_VERSION (ORV_VERSION_MAJOR * 10000 + ORV_VERSION_MINOR * 100 + ORV_VERSION_PATCH)

/// As text, "1.2.3".
#define ORV_VERSION_TEXT ORV_VERSION_JOIN(ORV_VERSION_MAJOR, ORV_VERSION_MINOR, ORV_VERSION_PATCH)
/// \cond
#define ORV_VERSION_QUOTE(number) #number
#define ORV_VERSION_JOIN(major, minor, patch) \
    ORV_VERSION_QUOTE(major) "." ORV_VERSION_QUOTE(minor) "." ORV_VERSION_QUOTE(patch)
/// \endcond

#endif
