// The converted copy of a batch. Apart from the other character helpers, because only this one knows the batch records.

#include <cstdlib>

#include "ConfigurationControl/CharSets.h"
#include "ConfigurationControl/MultiPar.h"

namespace CharSets {

static_assert(sizeof(clCONVERT_SETMULTIPAR) == 2 * sizeof(void*));

clCONVERT_SETMULTIPAR::clCONVERT_SETMULTIPAR(SETMULTIPAR const* batch, DIRECTION)
    : m_reserved(nullptr), m_batch(MultiParameterDup(batch)) {}

clCONVERT_SETMULTIPAR::~clCONVERT_SETMULTIPAR() {
    std::free(m_batch);
}

}  // namespace CharSets
