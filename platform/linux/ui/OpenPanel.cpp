#include "platform/linux/ui/OpenPanel.h"

#include <utility>

#include <adwaita.h>
#include <glib/gi18n.h>

namespace platform_linux {
namespace {

std::optional<std::string> chosenFolder(GtkFileChooser* chooser) {
  const auto folder = GObjectRef<GFile>::adopt(gtk_file_chooser_get_file(chooser));
  return folder ? std::optional(nameOfFolder(folder.get())) : std::nullopt;
}

}  // namespace

std::string nameOfFolder(GFile* folder) {
  const GStringHandle path(g_file_get_path(folder));
  const GStringHandle address(g_file_get_uri(folder));
  return path ? path.get() : address.get();
}

OpenPanel::~OpenPanel() {
  dismiss();
}

void OpenPanel::dismiss() {
  completion_ = nullptr;
  const auto chooser = std::exchange(chooser_, {});
  if (!chooser) return;
  g_signal_handler_disconnect(chooser.get(), std::exchange(responseSignal_, 0));
  gtk_native_dialog_destroy(GTK_NATIVE_DIALOG(chooser.get()));
}

void OpenPanel::chooseDirectory(const std::string& directory,
                                std::function<void(std::optional<std::string>)> completion) {
  if (chooser_) {
    gtk_native_dialog_show(GTK_NATIVE_DIALOG(chooser_.get()));
    completion(std::nullopt);
    return;
  }
  chooser_ = GObjectRef<GtkFileChooserNative>::adopt(gtk_file_chooser_native_new(
      dgettext(CAMERA_SHOT_TRANSLATION_DOMAIN, "Choose a Folder for Photos"), windows_.current(),
      GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER, dgettext(CAMERA_SHOT_TRANSLATION_DOMAIN, "_Select"), nullptr));
  completion_ = std::move(completion);
  gtk_native_dialog_set_modal(GTK_NATIVE_DIALOG(chooser_.get()), TRUE);
  const auto folder = GObjectRef<GFile>::adopt(g_file_new_for_path(directory.c_str()));
  gtk_file_chooser_set_current_folder(GTK_FILE_CHOOSER(chooser_.get()), folder.get(), nullptr);
  responseSignal_ = g_signal_connect(chooser_.get(), "response",
                                     G_CALLBACK(+[](GtkNativeDialog*, int response, gpointer self) noexcept {
                                       static_cast<OpenPanel*>(self)->answered(response);
                                     }),
                                     this);
  gtk_native_dialog_show(GTK_NATIVE_DIALOG(chooser_.get()));
}

void OpenPanel::answered(int response) {
  const auto chooser = std::exchange(chooser_, {});
  const auto completion = std::exchange(completion_, nullptr);
  g_signal_handler_disconnect(chooser.get(), std::exchange(responseSignal_, 0));
  auto folder =
      response == GTK_RESPONSE_ACCEPT ? chosenFolder(GTK_FILE_CHOOSER(chooser.get())) : std::nullopt;
  gtk_native_dialog_destroy(GTK_NATIVE_DIALOG(chooser.get()));
  completion(std::move(folder));
}

void OpenPanel::showMessage(const std::string& message) {
  // Closes with its window or its button, and is then destroyed by the toolkit.
  GtkWidget* const dialog = adw_message_dialog_new(windows_.current(), nullptr, message.c_str());
  adw_message_dialog_add_response(ADW_MESSAGE_DIALOG(dialog), "close",
                                  dgettext(CAMERA_SHOT_TRANSLATION_DOMAIN, "_Close"));
  gtk_window_present(GTK_WINDOW(dialog));
}

}  // namespace platform_linux
