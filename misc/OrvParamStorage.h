/// \file
/// A container of named parameters, each bound to a variable of its owner.
#ifndef ORV_PARAM_STORAGE_H
#define ORV_PARAM_STORAGE_H

#include <cstdint>

/// Marks what the shared library exports.
#define ORV_MISC_API __attribute__((visibility("default")))

/// Value of a parameter record: integer or float by the record's type.
union _OrvStParamValue {
    int64_t asInt;   ///< where the type is 0
    double asFloat;  ///< where the type is 2
};

/// Description of one parameter. 344 bytes; crosses library boundaries, so offsets are fixed.
struct _OrvStParam {
    int32_t type;                   ///< 0 integer, 2 float
    int32_t flags;                  ///< 3: may be read and written
    char name[256];                 ///< zero-terminated; case-sensitive
    uint8_t reserved0[40];          ///< 0
    _OrvStParamValue defaultValue;  ///< for who lists parameters; AddParam does not write it
    _OrvStParamValue minValue;      ///< enforced for integers only
    _OrvStParamValue maxValue;      ///< enforced for integers only
    uint64_t reserved1;             ///< 0
    void* value;                    ///< the bound variable: a `long` or a `double`
};

/// The container. Getters read and setters write the bound variables, so both sides stay in step.
///
/// Results: 0, or 0x80000000 or-ed with a type (1 in bits 16 to 23) and a code: 6 buffer too short (the needed
/// length is reported), 7 null argument, 10 name not found, 11 wrong type, 12 out of range, not parseable, or a format
/// that does not fit the type. After a failure nothing has changed. The trailing `checkRange` of the setters asks for
/// the range test. Not synchronised.
class ORV_MISC_API OrvParamStorage {
public:
    /// `reserved`: parameters to make room for; more may be added. Throws std::bad_alloc.
    explicit OrvParamStorage(unsigned reserved);
    ~OrvParamStorage();
    OrvParamStorage(const OrvParamStorage&) = delete;
    OrvParamStorage& operator=(const OrvParamStorage&) = delete;

    /// Registers a copy of `param`; the bound variable stays the caller's and must outlive the container. A
    /// name that exists already is refused. Does not write the default.
    uint32_t AddParam(_OrvStParam* param);

    /// The record at `index`, in order of registration; `param` stays as it was for an index out of range.
    uint32_t GetParamByIdx(unsigned index, _OrvStParam* param);

    uint32_t GetParamInt(char* name, long* value);                       ///< integers only
    uint32_t GetParamBool(char* name, bool* value);                      ///< integers only: value is not 0
    uint32_t GetParamFloat(char* name, double* value);                   ///< floats only
    uint32_t GetParamString(char* name, char* value, unsigned* length);  ///< no such type: 11, or 10
    uint32_t GetParamArray(char* name, void* value, unsigned* length);   ///< no such type: 11, or 10
    /// `format` is a printf format for one `long` (`%ld`) or `double` (`%f`, `%lf`); null gives the shortest text that
    /// reads back.
    uint32_t GetParamAsString(char* name, char* value, unsigned* length, char const* format);

    uint32_t SetParamInt(char* name, long value, bool checkRange);      ///< floats too, when the value is exact there
    uint32_t SetParamBool(char* name, bool value, bool checkRange);     ///< integers only: 0 or 1
    uint32_t SetParamFloat(char* name, double value, bool checkRange);  ///< floats only, finite values
    uint32_t SetParamString(char* name, char* value, bool checkRange);  ///< no such type: 11, or 10
    uint32_t SetParamArray(char* name, void* value, unsigned length, bool checkRange);  ///< no such type: 11, or 10
    uint32_t SetParamAsString(char* name, char* value, bool checkRange);  ///< the whole text must be the number

    /// No commands exist: 10 for every name.
    uint32_t RunCommand(char* command);

    unsigned paramCount;  ///< registered parameters; read only

private:
    struct Impl;
    Impl* impl_;
};

#endif
