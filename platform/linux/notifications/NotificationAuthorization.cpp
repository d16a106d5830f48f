#include "platform/linux/notifications/NotificationAuthorization.h"

#include <cerrno>
#include <memory>
#include <set>
#include <utility>

#include "platform/linux/desktop/SessionBus.h"
#include "platform/linux/notifications/NotificationServices.h"

namespace platform_linux {
namespace {

/// The question on its way through the bus's lists of names.
struct Question {
  std::string applicationId;
  std::function<void(bool, const std::optional<platform::NSError>&)> completion;
  std::set<std::string> names;
};

int errorNumber(const GError* error) {
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) ||
      g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT))
    return ETIMEDOUT;
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CONNECTION_REFUSED)) return ECONNREFUSED;
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_PERMISSION_DENIED)) return EACCES;
  return ENOENT;
}

void addNames(GVariant* reply, std::set<std::string>& names) {
  if (!reply) return;
  GVariantIter* iterator = nullptr;
  g_variant_get(reply, "(as)", &iterator);
  const char* name = nullptr;
  while (g_variant_iter_next(iterator, "&s", &name))
    names.insert(name);
  g_variant_iter_free(iterator);
}

bool answer(const Question& question) {
  return question.names.contains(kShellNotifications) ||
         (question.names.contains(notificationHelperName(question.applicationId)) &&
          question.names.contains(kDesktopNotifications));
}

void listNames(GDBusConnection* connection, const std::shared_ptr<Question>& question) {
  // The replies come in the order of the calls.
  callBusMethod(connection, busDaemonMethod("ListNames"), nullptr, "(as)",
                [question](GVariant* reply, const GError*) { addNames(reply, question->names); });
  callBusMethod(connection, busDaemonMethod("ListActivatableNames"), nullptr, "(as)",
                [question](GVariant* reply, const GError*) {
                  addNames(reply, question->names);
                  question->completion(answer(*question), std::nullopt);
                });
}

}  // namespace

void findNotificationService(const std::string& applicationId,
                             std::function<void(bool, const std::optional<platform::NSError>&)> completion) {
  auto question = std::make_shared<Question>(Question{applicationId, std::move(completion), {}});
  connectToSessionBus([question](GDBusConnection* connection, const GError* error) {
    if (connection)
      listNames(connection, question);
    else
      question->completion(false, platform::NSError{errorNumber(error), error->message});
  });
}

}  // namespace platform_linux
