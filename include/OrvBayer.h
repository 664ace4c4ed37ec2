// Bayer frames to colour.
//
// Self-contained; usable from C++11 on.
#ifndef ORV_BAYER_H
#define ORV_BAYER_H

#include "OrvComponent.h"

// A Bayer conversion component.
//
// Parameters: `BayerAlgType`, 0 bilinear, 1 adaptive two-scale colour differences, 2 edge-aware (3 and 4 are
// accepted and convert as 0); `NoRealloc`, 0 or 1, without effect.
//
// Source: one of the twenty Bayer words. Destination: always three packed channels per pixel in the sample
// width of the source, whatever its word says; the word selects red or blue first. Samples keep their scale
// (a 10-bit frame gives 10-bit colour in 16-bit storage).
//
// One thread at a time per component.
class OrvBayer {
public:
    // The parameters. Owned by the component.
    virtual OrvComponent* GetComponent() = 0;

    // Converts one frame: reads `pixelType`, `bitDepth`, `width`, `height`, `imageSize`, `stride` and `data` of
    // `source`, and `pixelType`, `width`, `height`, `stride` and `data` of `destination`; writes only the pixels
    // of the destination, never its row padding.
    //
    // Returns 0; 0x80050007 for null records or a word that is no Bayer word; 0x80050001 when OpenCV
    // refused the frame; 0x80050007, 8 or 9 from the adaptive engine. The component stays usable. Failure to
    // allocate an object passes out as std::bad_alloc.
    //
    // Algorithm 1: frames of another size need ReleaseData or AllocData first (0x80050007 else), and 16-bit
    // sources a `stride` of twice the width rounded up to even.
    virtual uint32_t ConvertImage(_OrvImage const* source, _OrvImage* destination) = 0;

    // Starts from a clean engine for frames like `source`; reserves no pixel memory. Errors as ConvertImage.
    virtual uint32_t AllocData(_OrvImage const* source, _OrvImage* destination) = 0;

    // Frees the engine with its planes.
    virtual void ReleaseData() = 0;

    virtual ~OrvBayer() {}

    ORV_API static OrvBayer* CreateComponent();
    ORV_API static void DeleteComponent(OrvBayer* component);
};

extern "C" {

// Builds a component; never null. Owned by the caller, ended by OrvBayer_DeleteComponent.
ORV_API OrvBayer* OrvBayer_CreateComponent();
// Ends a component; null is accepted.
ORV_API void OrvBayer_DeleteComponent(OrvBayer* component);
// The parameters of a component; null for null.
ORV_API OrvComponent* OrvBayer_GetComponent(OrvBayer* component);
// OrvBayer::ConvertImage; a null component gives 0x80050007.
ORV_API uint32_t OrvBayer_ConvertImage(OrvBayer* component, _OrvImage const* source, _OrvImage* destination);
// OrvBayer::AllocData; a null component gives 0x80050007.
ORV_API uint32_t OrvBayer_AllocData(OrvBayer* component, _OrvImage const* source, _OrvImage* destination);
// OrvBayer::ReleaseData; null is accepted.
ORV_API void OrvBayer_ReleaseData(OrvBayer* component);

}  // extern "C"

#endif
