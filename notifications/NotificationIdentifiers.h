#pragma once

#include <string>

namespace camera_shot {

/// What identifies the tool's notifications, their actions and what they carry.
inline const std::string kPhotoTaken = "Photo_Taken_Notification";
inline const std::string kPhotoTakenError = "Photo_Taken_Notification_Error";
inline const std::string kTakePhotoCategory = "TAKE_PHOTO_CATEGORY";
inline const std::string kOpenAction = "OPEN_ACTION";
/// The entry of the user info with the photo's path.
inline const std::string kPathKey = "Path";

/// What clicks on the notifications are called where the desktop passes them on, with the path: a click on
/// the notification itself, and kOpenAction.
inline const std::string kShowPhotoClick = "show-photo";
inline const std::string kOpenPhotoClick = "open-photo";

}  // namespace camera_shot
