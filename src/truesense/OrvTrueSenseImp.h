#ifndef ORV_TRUESENSE_ORVTRUESENSEIMP_H
#define ORV_TRUESENSE_ORVTRUESENSEIMP_H

#include <memory>

#include "OrvTrueSense.h"
#include "component/OrvComponentImp.h"
#include "truesense/Engines.h"

class OrvTrueSenseImp : public OrvTrueSense, private OrvComponentImp {
public:
    // `engines` must outlive the component.
    explicit OrvTrueSenseImp(const orv::TrueSenseEngines& engines = orv::kTrueSenseEngines);

    OrvComponent* GetComponent() override;
    uint32_t ConvertImage(_OrvImage const* source, _OrvImage* destination) override;
    uint32_t AllocData(_OrvImage const* source, _OrvImage* destination) override;
    void ReleaseData() override;

private:
    template <class T>
    std::unique_ptr<IDemConvertion<T>>& EngineSlot();
    // Frees the engine of the other sample width, keeps or replaces the one of this width, and runs it.
    template <class T>
    uint32_t Convert(const _OrvImage& source, const _OrvImage& destination, unsigned char grid);
    template <class T>
    uint32_t Allocate();

    const orv::TrueSenseEngines& engines_;
    long algType_ = 0;
    long noRealloc_ = 0;
    tagTrueSenseParam param_;
    std::unique_ptr<IDemConvertion<unsigned char>> engine8_;    // for 8-bit sources
    std::unique_ptr<IDemConvertion<unsigned short>> engine16_;  // for 10 to 14 bits; at most one of the two lives on
};

#endif
