#ifndef ORV_COMPONENT_ORVCOMPONENTIMP_H
#define ORV_COMPONENT_ORVCOMPONENTIMP_H

#include "OrvComponent.h"
#include "OrvParamStorage.h"

// The component view over a parameter container; base of the concrete components.
class OrvComponentImp : public OrvComponent {
public:
    explicit OrvComponentImp(uint8_t typeId);

    int GetComponentTypeID() override;
    int GetParamCount() override;
    uint32_t GetParamName(unsigned index, char* name, unsigned* length) override;
    uint32_t GetParamAsString(char* name, char* value, unsigned* length, char const* format) override;
    uint32_t SetParamAsString(char* name, char* value) override;
    uint32_t SetParamBool(char* name, bool value) override;
    uint32_t SetParamInt(char* name, long value) override;
    uint32_t SetParamFloat(char* name, double value) override;
    uint32_t SetParamString(char* name, char* value) override;
    uint32_t SetParamArray(char* name, void* value, unsigned length) override;
    uint32_t GetParamBool(char* name, bool* value) override;
    uint32_t GetParamInt(char* name, long* value) override;
    uint32_t GetParamFloat(char* name, double* value) override;
    uint32_t GetParamString(char* name, char* value, unsigned* length) override;
    uint32_t GetParamArray(char* name, void* value, unsigned* length) override;
    uint32_t RunCommand(char* command) override;

protected:
    // Registers a parameter bound to `value` and writes its default there. Integers range from 0 to `maxValue`.
    void RegisterInt(const char* name, long* value, long defaultValue, long maxValue);
    void RegisterFloat(const char* name, double* value, double defaultValue);

private:
    OrvParamStorage storage_;
    uint8_t typeId_;
};

#endif
