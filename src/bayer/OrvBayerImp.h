#ifndef ORV_BAYER_ORVBAYERIMP_H
#define ORV_BAYER_ORVBAYERIMP_H

#include <array>
#include <memory>

#include "OrvBayer.h"
#include "bayer/DemosaicingIPP.h"
#include "component/OrvComponentImp.h"

// Entry 5 at the serials of the BGR words; any other destination word counts as RGB.
extern const std::array<uint8_t, 256> g_isBGR;

// The OpenCV conversion code for a Bayer word, edge-aware for algorithm 2 and bilinear for every other number;
// -1 for a word that is no Bayer word. Depth does not matter.
int PixelTypeToBayerType(unsigned pixelType, int algorithm, bool isBGR);

// Algorithm 1: one frame through `engine`.
uint32_t ConvertWithEngine(DemosaicingIPP& engine, const _OrvImage& source, _OrvImage& destination);

class OrvBayerImp : public OrvBayer, private OrvComponentImp {
public:
    OrvBayerImp();
    ~OrvBayerImp() override;

    OrvComponent* GetComponent() override;
    uint32_t ConvertImage(_OrvImage const* source, _OrvImage* destination) override;
    uint32_t AllocData(_OrvImage const* source, _OrvImage* destination) override;
    void ReleaseData() override;

private:
    // The algorithm in force; a number out of range is 0.
    int Algorithm();
    // The engine of this sample width, built when there is none.
    DemosaicingIPP& Engine(bool byteSamples);

    long algType_ = 0;
    long noRealloc_ = 0;
    // At most one of the two lives.
    std::unique_ptr<DemosaicingIPP_8> engine8_;
    std::unique_ptr<DemosaicingIPP_16> engine16_;
};

#endif
