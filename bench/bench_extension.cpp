// The composer's choice of a file extension, MMS_COMP_Util::getFirstSupportExtNameByMIMEType,
// one MIME type per benchmark, on the real MIME registry (the shared MIME database):
//
// BM_Extension/image_jpeg       the registry's list matched against the fixed image list.
// BM_Extension/text_plain       a fixed answer; the registry is asked all the same.
// BM_Extension/audio_mpeg       the media player's audio list read from the settings store (the
//                               default table on SQLite, nothing stored: its factory list).
// BM_Extension/video_mp4        the same with the video list.
// BM_Extension/application_zip  nothing supported, after asking the registry.
// BM_Extension/image_JPEG       a type in capitals, which the registry finds by its folded name.
// BM_Extension_TableInMemory    audio/mpeg with the player's list held in memory: the difference
//                               to audio_mpeg is the settings store's read.
//
// The settings store lies in the benchmark directory and is installed only while a benchmark of
// this file runs.

#include <tavmmsutility.h>

#include "media_capability_service.h"
#include "sqlite_settings_store.h"

#include "bench_directory.h"

#include <benchmark/benchmark.h>

#include <QString>

namespace
{

tavplatform::SqliteSettingsStore& extensionStore()
{
    static tavplatform::SqliteSettingsStore store(benchDirectory() +
                                                  QStringLiteral("/extension-settings.db"));
    return store;
}

// The phone's factory lists, held in memory.
class FactoryTable : public tavplatform::MediaCapabilityService
{
public:
    QStringList playableExtensions(tavplatform::MediaKind kind) override
    {
        return tavplatform::StoreMediaCapabilities::factoryExtensions(kind);
    }
    bool setPlayableExtensions(tavplatform::MediaKind, const QStringList&) override
    {
        return false;
    }
    bool resetPlayableExtensions(tavplatform::MediaKind) override { return false; }
};

// Runs the choice for `type`/`subtype`, after checking that it gives `expected`.
void choose(benchmark::State& state, const char* type, const char* subtype, const char* expected)
{
    const QString major = QString::fromLatin1(type);
    const QString minor = QString::fromLatin1(subtype);
    if (MMS_COMP_Util::getFirstSupportExtNameByMIMEType(major, minor) != QLatin1String(expected)) {
        state.SkipWithError("not the extension expected");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(MMS_COMP_Util::getFirstSupportExtNameByMIMEType(major, minor));
}

void BM_Extension(benchmark::State& state, const char* type, const char* subtype,
                  const char* expected)
{
    const tavplatform::ScopedSettingsStoreService installed(&extensionStore());
    choose(state, type, subtype, expected);
}

void BM_Extension_TableInMemory(benchmark::State& state)
{
    FactoryTable table;
    const tavplatform::ScopedMediaCapabilityService installed(&table);
    choose(state, "audio", "mpeg", "mp3");
}

BENCHMARK_CAPTURE(BM_Extension, image_jpeg, "image", "jpeg", "jpg");
BENCHMARK_CAPTURE(BM_Extension, text_plain, "text", "plain", "txt");
BENCHMARK_CAPTURE(BM_Extension, audio_mpeg, "audio", "mpeg", "mp3");
BENCHMARK_CAPTURE(BM_Extension, video_mp4, "video", "mp4", "mp4");
BENCHMARK_CAPTURE(BM_Extension, application_zip, "application", "zip", "");
BENCHMARK_CAPTURE(BM_Extension, image_JPEG, "IMAGE", "JPEG", "jpg");
BENCHMARK(BM_Extension_TableInMemory);

} // namespace
