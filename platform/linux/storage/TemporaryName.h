#pragma once

#include <string>
#include <string_view>

namespace platform_linux {

/// A fresh hidden name for the bytes of a file called `fileName` until they are whole: ".<fileName>.<six
/// letters of this machine>.<six random letters>.quillo-part", the file's own name shortened where the file
/// system's limit asks for it.
[[nodiscard]] std::string makeTemporaryName(std::string_view fileName);

/// Whether `name` was made by the function above, on any machine; or by version 0.1, which named none.
[[nodiscard]] bool isTemporaryName(std::string_view name);

/// Whether it was made on this machine.
[[nodiscard]] bool isTemporaryNameOfThisMachine(std::string_view name);

}  // namespace platform_linux
