#include "OrvTrueSense.h"

#include <type_traits>

#include "component/PixelTypes.h"
#include "truesense/OrvTrueSenseImp.h"
#include "truesense/Params.h"

namespace {

constexpr uint32_t kBadArgument = orv::StatusOf(orv::kFamilyTrueSense, orv::kCodeBadArgument);

// The grid code of a pair of records to convert; 255 for a null record or a source word that no table holds.
int GridOf(_OrvImage const* source, _OrvImage const* destination) {
    if (source == nullptr || destination == nullptr) {
        return orv::kNoTrueSenseGrid;
    }
    return PixelTypeToTruesenseGrid(source->pixelType);
}

}  // namespace

OrvTrueSenseImp::OrvTrueSenseImp(const orv::TrueSenseEngines& engines)
    : OrvComponentImp(orv::kFamilyTrueSense), engines_(engines) {
    TrueSense_DefaultValues(&param_);
    RegisterInt("TrueSenseAlgType", &algType_, 0, 6);
    RegisterInt("NoRealloc", &noRealloc_, 0, 1);
    for (const orv::TrueSenseField& field : orv::kTrueSenseFields) {
        if (field.integer != nullptr) {
            RegisterInt(field.name, &(param_.*field.integer), field.integerDefault, field.maximum);
        } else {
            RegisterFloat(field.name, &(param_.*field.real), field.realDefault);
        }
    }
}

OrvComponent* OrvTrueSenseImp::GetComponent() { return this; }

template <>
std::unique_ptr<IDemConvertion<unsigned char>>& OrvTrueSenseImp::EngineSlot() {
    return engine8_;
}
template <>
std::unique_ptr<IDemConvertion<unsigned short>>& OrvTrueSenseImp::EngineSlot() {
    return engine16_;
}

template <class T>
uint32_t OrvTrueSenseImp::Convert(const _OrvImage& source, const _OrvImage& destination, unsigned char grid) {
    constexpr bool byteSource = std::is_same<T, unsigned char>::value;
    EngineSlot<typename std::conditional<byteSource, unsigned short, unsigned char>::type>().reset();
    std::unique_ptr<IDemConvertion<T>>& engine = EngineSlot<T>();

    const orv::EngineClass<T>* wanted = engines_.Find<T>(algType_);
    if (wanted == nullptr) {
        return kBadArgument;
    }
    if (engine != nullptr && !wanted->made(engine.get())) {
        engine.reset();  // before the new one comes: its planes are large
    }
    if (engine == nullptr) {
        engine.reset(wanted->make());
    }

    const orv::OutputLayout output = orv::OutputLayoutOf(destination.pixelType);
    if (!output.known || (byteSource && !output.bytes)) {
        return kBadArgument;
    }
    engine->SetOutputPixelType(output.alpha, output.bgr);

    const _OrvRect rect = {0, 0, source.width, source.height};
    const _OrvSize size = {source.width, source.height};
    const long normalization = param_.normalizationEnable;
    if (byteSource) {
        param_.normalizationEnable = 0;  // bytes are never spread over 16 bits
    }
    int code = 0;
    if (byteSource || !output.bytes) {
        code = engine->Init(static_cast<const T*>(source.data), rect, size, source.stride, source.bitDepth,
                            static_cast<T*>(destination.data), destination.stride, grid, &param_);
        code = code == 0 ? engine->Calculate() : code;
    } else {
        code =
            engine->InitRGB(static_cast<const unsigned short*>(source.data), rect, size, source.stride, source.bitDepth,
                            static_cast<unsigned char*>(destination.data), destination.stride, grid, &param_);
        code = code == 0 ? engine->CalculateRGB() : code;
    }
    // Comes back after a failure code but not after an exception, hence no scope guard: after one the parameter reads
    // 0.
    param_.normalizationEnable = normalization;
    return orv::StatusOf(orv::kFamilyTrueSense, code);
}

uint32_t OrvTrueSenseImp::ConvertImage(_OrvImage const* source, _OrvImage* destination) {
    const int grid = GridOf(source, destination);
    if (grid == orv::kNoTrueSenseGrid) {
        return kBadArgument;
    }
    const unsigned char code = static_cast<unsigned char>(grid);
    return orv::HasByteSamples(source->pixelType) ? Convert<unsigned char>(*source, *destination, code)
                                                  : Convert<unsigned short>(*source, *destination, code);
}

template <class T>
uint32_t OrvTrueSenseImp::Allocate() {
    const orv::EngineClass<T>* wanted = engines_.Find<T>(algType_);
    if (wanted == nullptr) {
        return kBadArgument;
    }
    EngineSlot<T>().reset(wanted->make());
    return 0;
}

uint32_t OrvTrueSenseImp::AllocData(_OrvImage const* source, _OrvImage* destination) {
    if (source == nullptr || destination == nullptr || !orv::IsTrueSense(source->pixelType)) {
        return kBadArgument;
    }
    ReleaseData();
    // A word of the right class that no table holds still frees the engine.
    if (GridOf(source, destination) == orv::kNoTrueSenseGrid) {
        return kBadArgument;
    }
    return orv::HasByteSamples(source->pixelType) ? Allocate<unsigned char>() : Allocate<unsigned short>();
}

void OrvTrueSenseImp::ReleaseData() {
    engine8_.reset();
    engine16_.reset();
}

OrvTrueSense* OrvTrueSense::CreateComponent() { return new OrvTrueSenseImp; }
void OrvTrueSense::DeleteComponent(OrvTrueSense* component) { delete component; }

extern "C" {

OrvTrueSense* OrvTrueSense_CreateComponent() { return OrvTrueSense::CreateComponent(); }

void OrvTrueSense_DeleteComponent(OrvTrueSense* component) { OrvTrueSense::DeleteComponent(component); }

OrvComponent* OrvTrueSense_GetComponent(OrvTrueSense* component) {
    return component == nullptr ? nullptr : component->GetComponent();
}

uint32_t OrvTrueSense_ConvertImage(OrvTrueSense* component, _OrvImage const* source, _OrvImage* destination) {
    return component == nullptr ? kBadArgument : component->ConvertImage(source, destination);
}

uint32_t OrvTrueSense_AllocData(OrvTrueSense* component, _OrvImage const* source, _OrvImage* destination) {
    return component == nullptr ? kBadArgument : component->AllocData(source, destination);
}

void OrvTrueSense_ReleaseData(OrvTrueSense* component) {
    if (component != nullptr) {
        component->ReleaseData();
    }
}

}  // extern "C"
