#include "OrvBayer.h"

#include <opencv2/imgproc.hpp>

#include "bayer/Interpolation.h"
#include "bayer/OrvBayerImp.h"
#include "component/PixelTypes.h"

namespace {
constexpr std::array<uint8_t, 256> BgrSerials() {
    std::array<uint8_t, 256> table = {};
    for (unsigned serial = OrvPixelBGR8 & 0xFFU; serial <= (OrvPixelBGR16 & 0xFFU); serial += 2) {
        table[serial] = 5;
    }
    return table;
}
}  // namespace

const std::array<uint8_t, 256> g_isBGR = BgrSerials();

int PixelTypeToBayerType(unsigned pixelType, int algorithm, bool isBGR) {
    // OpenCV names a pattern by the second row's pixels from the second column on: its GB is our GR.
    struct Codes {
        int plain, edgeAware;
    };
    Codes bgr = {};
    Codes rgb = {};
    switch (pixelType) {
    case OrvPixelBayerGR8:
    case OrvPixelBayerGR10:
    case OrvPixelBayerGR12:
    case OrvPixelBayerGR14:
    case OrvPixelBayerGR16:
        bgr = {cv::COLOR_BayerGB2BGR, cv::COLOR_BayerGB2BGR_EA};
        rgb = {cv::COLOR_BayerGR2BGR, cv::COLOR_BayerGR2BGR_EA};
        break;
    case OrvPixelBayerRG8:
    case OrvPixelBayerRG10:
    case OrvPixelBayerRG12:
    case OrvPixelBayerRG14:
    case OrvPixelBayerRG16:
        bgr = {cv::COLOR_BayerBG2BGR, cv::COLOR_BayerBG2BGR_EA};
        rgb = {cv::COLOR_BayerRG2BGR, cv::COLOR_BayerRG2BGR_EA};
        break;
    case OrvPixelBayerGB8:
    case OrvPixelBayerGB10:
    case OrvPixelBayerGB12:
    case OrvPixelBayerGB14:
    case OrvPixelBayerGB16:
        bgr = {cv::COLOR_BayerGR2BGR, cv::COLOR_BayerGR2BGR_EA};
        rgb = {cv::COLOR_BayerGB2BGR, cv::COLOR_BayerGB2BGR_EA};
        break;
    case OrvPixelBayerBG8:
    case OrvPixelBayerBG10:
    case OrvPixelBayerBG12:
    case OrvPixelBayerBG14:
    case OrvPixelBayerBG16:
        bgr = {cv::COLOR_BayerRG2BGR, cv::COLOR_BayerRG2BGR_EA};
        rgb = {cv::COLOR_BayerBG2BGR, cv::COLOR_BayerBG2BGR_EA};
        break;
    default: return -1;
    }
    const Codes& codes = isBGR ? bgr : rgb;
    return algorithm == 2 ? codes.edgeAware : codes.plain;
}

uint32_t ConvertWithEngine(DemosaicingIPP& engine, const _OrvImage& source, _OrvImage& destination) {
    int code = engine.Init(&destination, &source);
    if (code == orv::kCodeOk) {
        code = engine.Calculate();
    }
    return orv::StatusOf(orv::kFamilyBayer, code);
}

OrvBayerImp::OrvBayerImp() : OrvComponentImp(orv::kFamilyBayer) {
    RegisterInt("BayerAlgType", &algType_, 0, 4);
    RegisterInt("NoRealloc", &noRealloc_, 0, 1);
}

OrvBayerImp::~OrvBayerImp() { OrvBayerImp::ReleaseData(); }

OrvComponent* OrvBayerImp::GetComponent() { return this; }

int OrvBayerImp::Algorithm() {
    char name[] = "BayerAlgType";
    long algorithm = 0;
    if (orv::IsContainerFailure(GetParamInt(name, &algorithm))) {
        return 0;
    }
    return algorithm >= 0 && algorithm <= 2 ? static_cast<int>(algorithm) : 0;
}

DemosaicingIPP& OrvBayerImp::Engine(bool byteSamples) {
    if (byteSamples) {
        if (engine8_ == nullptr) {
            engine8_ = std::make_unique<DemosaicingIPP_8>();
        }
        return *engine8_;
    }
    if (engine16_ == nullptr) {
        engine16_ = std::make_unique<DemosaicingIPP_16>();
    }
    return *engine16_;
}

uint32_t OrvBayerImp::ConvertImage(_OrvImage const* source, _OrvImage* destination) {
    if (source == nullptr || destination == nullptr || !orv::IsBayer(source->pixelType)) {
        return orv::StatusOf(orv::kFamilyBayer, orv::kCodeBadArgument);
    }
    const int algorithm = Algorithm();
    const int code = PixelTypeToBayerType(source->pixelType, algorithm, g_isBGR[destination->pixelType & 0xFFU] == 5);
    if (code == -1) {
        return orv::StatusOf(orv::kFamilyBayer, orv::kCodeBadArgument);
    }
    const bool byteSamples = orv::HasByteSamples(source->pixelType);
    if (byteSamples) {
        engine16_.reset();
    } else {
        engine8_.reset();
    }
    if (algorithm == 1) {
        return ConvertWithEngine(Engine(byteSamples), *source, *destination);
    }
    return orv::StatusOf(orv::kFamilyBayer, orv::InterpolateFrame(*source, *destination, code));
}

uint32_t OrvBayerImp::AllocData(_OrvImage const* source, _OrvImage* destination) {
    if (source == nullptr || destination == nullptr || !orv::IsBayer(source->pixelType)) {
        return orv::StatusOf(orv::kFamilyBayer, orv::kCodeBadArgument);
    }
    ReleaseData();
    const int algorithm = Algorithm();
    if (PixelTypeToBayerType(source->pixelType, algorithm, false) == -1) {
        return orv::StatusOf(orv::kFamilyBayer, orv::kCodeBadArgument);
    }
    if (algorithm == 1) {
        Engine(orv::HasByteSamples(source->pixelType));
    }
    return 0;
}

void OrvBayerImp::ReleaseData() {
    engine8_.reset();
    engine16_.reset();
}

OrvBayer* OrvBayer::CreateComponent() { return new OrvBayerImp; }
void OrvBayer::DeleteComponent(OrvBayer* component) { delete component; }

extern "C" {

OrvBayer* OrvBayer_CreateComponent() { return OrvBayer::CreateComponent(); }

void OrvBayer_DeleteComponent(OrvBayer* component) { OrvBayer::DeleteComponent(component); }

OrvComponent* OrvBayer_GetComponent(OrvBayer* component) {
    return component == nullptr ? nullptr : component->GetComponent();
}

uint32_t OrvBayer_ConvertImage(OrvBayer* component, _OrvImage const* source, _OrvImage* destination) {
    return component == nullptr ? orv::StatusOf(orv::kFamilyBayer, orv::kCodeBadArgument)
                                : component->ConvertImage(source, destination);
}

uint32_t OrvBayer_AllocData(OrvBayer* component, _OrvImage const* source, _OrvImage* destination) {
    return component == nullptr ? orv::StatusOf(orv::kFamilyBayer, orv::kCodeBadArgument)
                                : component->AllocData(source, destination);
}

void OrvBayer_ReleaseData(OrvBayer* component) {
    if (component != nullptr) {
        component->ReleaseData();
    }
}

}  // extern "C"
