// The converted copy of a batch. It stands apart from the other character helpers as only it knows the batch records.

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
