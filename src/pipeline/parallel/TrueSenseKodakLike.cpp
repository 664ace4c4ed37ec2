#include "pipeline/parallel/TrueSenseKodakLike.h"

template class TrueSenseKodakLike<unsigned char>;
template class TrueSenseKodakLike<unsigned short>;
