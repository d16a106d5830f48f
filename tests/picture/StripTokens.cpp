#include "tests/picture/StripTokens.h"

#include "picture/png/Tokenizer.h"

namespace camera_shot_test {

picture::DeflateTokens tokensOf(std::span<const std::uint8_t> data, picture::StripScan& scan,
                                std::optional<picture::MatchFinder::Search> search) {
  picture::MatchFinder finder(data.size());
  picture::Tokenizer tokenizer(data.size());
  scan.scan(data);
  std::span<const picture::Match> matches;
  if (search) matches = finder.find(data, scan.repetitions(), *search);
  scan.cover(matches);
  const auto tokens = tokenizer.divide(data.size(), scan.runs(), matches);
  return {tokens.begin(), tokens.end()};
}

}  // namespace camera_shot_test
