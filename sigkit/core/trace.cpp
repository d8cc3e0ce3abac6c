#include "core/trace.h"

namespace
{

thread_local SigkitTraceSink t_sink = {};

} // namespace

void InternalSetTraceSink(const SigkitTraceSink &sink)
{
    t_sink = sink;
}

void InternalTrace(const SigkitTraceRecord &record)
{
    if (t_sink.take != nullptr) {
        t_sink.take(t_sink.context, record);
    }
}
