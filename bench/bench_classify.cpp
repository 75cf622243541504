// Message classification through MMS_UTIL_Common::getMsgTypeByContentType, one content type per
// benchmark, each passed by value as callers pass it:
//
// image_jpeg          a single media object (row 0x1E of the content-type table), no parameters.
// related_smil        a presentation: multipart/related (row 0x33) with its start and its SMIL
//                     "type" parameter last, as senders write it.
// related_xhtml       the same starting with XHTML, the "type" parameter first.
// mixed               multipart/mixed (row 0x23) with a boundary parameter.
// unknown             a type that is not in the table (every row compared), no parameters.

#include <tavmmsutility.h>

#include <benchmark/benchmark.h>

#include <QString>

namespace
{

void BM_GetMsgTypeByContentType(benchmark::State& state, const char* type, const char* subtype,
                                const char* params)
{
    const MMS_CONTENT_TYPE_T contentType{QLatin1String(type), QLatin1String(subtype),
                                         QLatin1String(params)};
    for (auto _ : state)
        benchmark::DoNotOptimize(MMS_UTIL_Common::getMsgTypeByContentType(contentType));
}

BENCHMARK_CAPTURE(BM_GetMsgTypeByContentType, image_jpeg, "image", "jpeg", "");
BENCHMARK_CAPTURE(BM_GetMsgTypeByContentType, related_smil, "application",
                  "vnd.wap.multipart.related", "start=<p1.smil>;type=application/smil");
BENCHMARK_CAPTURE(BM_GetMsgTypeByContentType, related_xhtml, "application",
                  "vnd.wap.multipart.related", "type=application/xhtml+xml;start=<p1>");
BENCHMARK_CAPTURE(BM_GetMsgTypeByContentType, mixed, "application", "vnd.wap.multipart.mixed",
                  "boundary=part-boundary");
BENCHMARK_CAPTURE(BM_GetMsgTypeByContentType, unknown, "application", "octet-stream", "");

} // namespace
