#include "platform/linux/tray/ToolInterface.h"

#include <utility>

#include "platform/linux/bus/BusNames.h"

namespace platform_linux {
namespace {

constexpr const char* kDescription = R"xml(<node><interface name="com.verrano.quillo.Tool1">
  <property name="Status" type="i" access="read"/>
  <method name="ClickMenuIcon"/>
</interface></node>)xml";

}  // namespace

ToolInterface::ToolInterface(const SessionBus& bus, const std::string& identifier,
                             std::function<void()> onClickMenuIcon)
    : onClickMenuIcon_(std::move(onClickMenuIcon)),
      interface_(bus.connection(), objectPath(identifier), kDescription,
                 {[this](IncomingCall call) {
                    call.answer();
                    // A copy: the click may destroy this.
                    const auto click = onClickMenuIcon_;
                    click();
                  },
                  [this](const std::string&) { return g_variant_new_int32(status_); }}) {}

void ToolInterface::setStatus(int status) {
  if (status == status_) return;
  status_ = status;
  interface_.emitPropertyChanged("Status");
}

}  // namespace platform_linux
