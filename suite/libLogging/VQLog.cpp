#include "suite/libLogging/VQLog.h"

namespace suite {
namespace {

struct Text {
  std::string operator()(std::int32_t number) const { return std::to_string(number); }
  std::string operator()(const std::string& text) const { return text; }
  std::string operator()(const platform::NSError& error) const {
    return error.localizedDescription + " (code " + std::to_string(error.code) + ")";
  }
};

}  // namespace

void VQLog::VQLogVariadic(const std::string& format, const std::vector<Argument>& arguments) {
  std::string line;
  auto argument = arguments.begin();
  for (std::size_t at = 0; at < format.size(); ++at) {
    const std::string_view placeholder = std::string_view(format).substr(at, 2);
    if ((placeholder == "%@" || placeholder == "%d") && argument != arguments.end()) {
      line += std::visit(Text{}, *argument++);
      ++at;
    } else {
      line += format[at];
    }
  }
  log_.log(line);
}

}  // namespace suite
