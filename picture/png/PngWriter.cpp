#include "picture/png/PngWriter.h"

#include <algorithm>
#include <new>
#include <thread>

#include "picture/png/PngChunks.h"
#include "picture/png/PngPipeline.h"

namespace picture {
namespace {

// One thread at a time decodes, and filtering and coding take one and a half to two times as long as that: a
// fourth thread would be kept waiting by the decoder. (Processor time of 12-megapixel JPEG pictures, noisy
// and smooth: 40 ms against 51, 28 against 55.)
constexpr unsigned kUsefulThreads = 3;
// Where several can decode.
constexpr unsigned kUsefulThreadsAhead = 4;

unsigned chooseThreads(const RowSource& source, const PngOptions& options) {
  if (options.threads != 0) return options.threads;
  const unsigned useful = source.canReadAhead() ? kUsefulThreadsAhead : kUsefulThreads;
  return std::clamp(std::thread::hardware_concurrency(), 1U, useful);
}

PngResult writeAll(RowSource& source, const PngMetadata& metadata, ByteSink& sink,
                   const PngOptions& options) {
  PngPipeline pipeline(source, sink, chooseThreads(source, options));
  if (!sink.write(pngBeginning(source.width(), source.height(), metadata))) return PngResult::SinkFailed;
  const PngResult result = pipeline.run();
  if (result != PngResult::Written) return result;
  return sink.write(pngEnd(pipeline.adler())) ? PngResult::Written : PngResult::SinkFailed;
}

}  // namespace

PngResult writePng(RowSource& source, const PngMetadata& metadata, ByteSink& sink,
                   const PngOptions& options) noexcept {
  if (!isAcceptablePictureSize(source.width(), source.height())) return PngResult::SourceFailed;
  try {
    return writeAll(source, metadata, sink, options);
  } catch (const std::bad_alloc&) {
    return PngResult::OutOfMemory;
  }
}

}  // namespace picture
