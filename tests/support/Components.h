// Conversion components that end with their scope.
#ifndef ORV_TESTS_COMPONENTS_H
#define ORV_TESTS_COMPONENTS_H

#include "OrvBayer.h"
#include "OrvTrueSense.h"
#include "support/Image.h"

namespace orvtest {

template <class T>
class Component {
public:
    Component() = default;
    ~Component() { T::DeleteComponent(component_); }
    Component(const Component&) = delete;
    Component& operator=(const Component&) = delete;

    T* Get() const { return component_; }
    T* operator->() const { return component_; }
    uint32_t Set(const char* name, long value) const { return OrvSetParam(*component_->GetComponent(), name, value); }
    uint32_t Convert(const Image& source, Image& result) const {
        return component_->ConvertImage(&source.record, &result.record);
    }

private:
    T* component_ = T::CreateComponent();
};

struct BayerComponent : Component<OrvBayer> {
    explicit BayerComponent(long algorithm) { Set("BayerAlgType", algorithm); }
};

struct TrueSenseComponent : Component<OrvTrueSense> {
    explicit TrueSenseComponent(long algorithm, long threads = 0) {
        Set("TrueSenseAlgType", algorithm);
        Set("threads_num", threads);
    }
};

}  // namespace orvtest

#endif
