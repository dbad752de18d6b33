#include "tracking/TRExtractionContext.h"

namespace {

// Written before the worker thread is started (thread creation orders the
// write before every read there), so no lock is needed.
TRExtractionContext g_context;
quint64 g_generation = 0;

}  // namespace

const TRExtractionContext& TRExtractionContext::shared() {
    return g_context;
}

void TRExtractionContext::setShared(const TRExtractionContext& context) {
    g_context = context;
    ++g_generation;
}

quint64 TRExtractionContext::generation() {
    return g_generation;
}
