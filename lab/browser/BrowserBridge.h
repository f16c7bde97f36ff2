#pragma once

#include <filesystem>

namespace korvan::lab {

/// Serves one request of the browser, which starts a process for each: reads one message from
/// `input`, calls the extension, and writes one answer to `output`. Then sends the story to the
/// command that started the browser, or to standard error if nobody listens. Returns the exit
/// status.
///
/// `directory` is a BrowserProfile's. When `input` ends before there is an answer, the page has
/// aborted its request: the process says so and ends at once, and with it the notice. It ends too,
/// with a refusal, a second after the settings' timeout. Main thread; call it once a process.
[[nodiscard]] int runBrowserBridge(const std::filesystem::path& directory, int input, int output);

}  // namespace korvan::lab
