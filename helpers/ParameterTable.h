// The one table of what is known about parameters, in the order of their registration.
#ifndef ORV_HELPERS_PARAMETERTABLE_H
#define ORV_HELPERS_PARAMETERTABLE_H

#include "OrvHelpers.h"

namespace orv::helpers {

struct ParameterTable {
    const OrvParamInfo* first;
    int count;
};

// Empty for other families.
ParameterTable ParametersOf(int family);

}  // namespace orv::helpers

#endif
