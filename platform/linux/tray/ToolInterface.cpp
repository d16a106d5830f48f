#include "platform/linux/tray/ToolInterface.h"

#include <utility>

#include "platform/linux/bus/BusNames.h"

namespace platform_linux {
namespace {

constexpr const char* kDescription = R"xml(<node><interface name="com.verrano.quillo.Tool1">
  <property name="Status" type="i" access="read"/>
  <method name="ClickMenuIcon"/>
</interface></node>)xml";

/// The status of a tool that takes clicks.
constexpr int kRunning = 1;

}  // namespace

ToolInterface::ToolInterface(const SessionBus& bus, const std::string& identifier, Actions actions)
    : actions_(std::move(actions)),
      interface_(bus.connection(), objectPath(identifier), kDescription,
                 {[this](IncomingCall call) { click(std::move(call)); },
                  [this](const std::string&) { return g_variant_new_int32(status_); }}) {}

void ToolInterface::click(IncomingCall call) const {
  // A copy: the click may destroy this.
  const Actions actions = actions_;
  if (status_ == kRunning) {
    call.answer();
    actions.onClickMenuIcon();
  } else if (actions.launch()) {
    call.answer();
  } else {
    call.refuse("the tool is starting or leaving");
  }
}

void ToolInterface::setStatus(int status) {
  if (status == status_) return;
  status_ = status;
  interface_.emitPropertyChanged("Status");
}

}  // namespace platform_linux
