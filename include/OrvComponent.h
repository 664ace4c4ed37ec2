/// \file
/// The component view: named parameters of a conversion component.
///
/// Self-contained; usable from C++11 on. C knows the type by name only: OrvHelpers.h has its operations as functions.
#ifndef ORV_COMPONENT_H
#define ORV_COMPONENT_H

#include "OrvImage.h"

#if !defined(__cplusplus)
typedef struct OrvComponent OrvComponent;
#else

/// Parameters of one component, by name. Obtained from OrvBayer_GetComponent or OrvTrueSense_GetComponent;
/// the component owns it, and it ends with the component. One thread at a time, never during a conversion.
///
/// Names are case-sensitive. Every operation returns a status word (OrvImage.h), code 7 for a null argument; on failure
/// neither the parameter nor the caller's memory has changed, save a length that is reported. A write takes effect with
/// the next conversion.
class OrvComponent {
public:
    virtual ~OrvComponent() {}

    /// 5 for Bayer components, 6 for TrueSense ones: the family in the status words.
    virtual int GetComponentTypeID() = 0;

    /// Number of parameters; their indices run from 0 in the order of registration.
    virtual int GetParamCount() = 0;

    /// Name of the parameter at `index`, with its terminating zero, into `name` of `*length` bytes. A buffer
    /// too short gives code 6 and the needed length in `*length`. An index out of range gives "".
    virtual uint32_t GetParamName(unsigned index, char* name, unsigned* length) = 0;

    /// Value as text. `format` is a printf format for one `long` (`%ld`) or `double` (`%f`, `%lf`), as the parameter's
    /// type is, else code 12; null gives the shortest text that reads back to the same value. `length` as in
    /// GetParamName.
    virtual uint32_t GetParamAsString(char* name, char* value, unsigned* length, char const* format) = 0;

    /// Parses the whole text.
    virtual uint32_t SetParamAsString(char* name, char* value) = 0;

    /// Writes 0 or 1 to an integer parameter.
    virtual uint32_t SetParamBool(char* name, bool value) = 0;
    /// Integers must lie in the parameter's range. A float parameter takes a value that is exact there.
    virtual uint32_t SetParamInt(char* name, long value) = 0;
    /// Finite values, of a float parameter.
    virtual uint32_t SetParamFloat(char* name, double value) = 0;

    /// Text parameters; no component registers any: code 11, or 10 for an unknown name.
    virtual uint32_t SetParamString(char* name, char* value) = 0;
    /// Array parameters; no component registers any: code 11, or 10 for an unknown name.
    virtual uint32_t SetParamArray(char* name, void* value, unsigned length) = 0;

    /// Whether an integer parameter is not 0.
    virtual uint32_t GetParamBool(char* name, bool* value) = 0;
    /// Of an integer parameter.
    virtual uint32_t GetParamInt(char* name, long* value) = 0;
    /// Of a float parameter.
    virtual uint32_t GetParamFloat(char* name, double* value) = 0;
    /// As SetParamString.
    virtual uint32_t GetParamString(char* name, char* value, unsigned* length) = 0;
    /// As SetParamArray.
    virtual uint32_t GetParamArray(char* name, void* value, unsigned* length) = 0;

    /// Runs a named command; the components register none, so every name gives code 10.
    virtual uint32_t RunCommand(char* command) = 0;
};

///@{
/// SetParamInt and SetParamFloat for string literals.
inline uint32_t OrvSetParam(OrvComponent& component, const char* name, long value) {
    return component.SetParamInt(const_cast<char*>(name), value);
}
inline uint32_t OrvSetParam(OrvComponent& component, const char* name, int value) {
    return component.SetParamInt(const_cast<char*>(name), value);
}
inline uint32_t OrvSetParam(OrvComponent& component, const char* name, double value) {
    return component.SetParamFloat(const_cast<char*>(name), value);
}
///@}

#endif

#endif
