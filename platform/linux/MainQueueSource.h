#pragma once

#include <functional>

#include <glib.h>

namespace korvan {

/// Work that waits for the thread that runs a GLib main context, as one source of that context.
///
/// A source for each piece of work would do, but GLib wakes the main thread while it still holds
/// the context's lock, and the two then collide.
class MainQueueSource {
 public:
  /// Belongs to the context from now on.
  explicit MainQueueSource(GMainContext* context);

  MainQueueSource(const MainQueueSource&) = delete;
  MainQueueSource& operator=(const MainQueueSource&) = delete;
  MainQueueSource(MainQueueSource&&) = delete;
  MainQueueSource& operator=(MainQueueSource&&) = delete;

  /// What waits still runs; the source is gone afterwards.
  ~MainQueueSource();

  /// Has `work` run, at G_PRIORITY_DEFAULT, after what was submitted before. From any thread.
  void submit(std::function<void()> work) const;

 private:
  struct Queue;
  struct Source;

  static gboolean prepare(GSource* source, gint* timeout) noexcept;
  static gboolean check(GSource* source) noexcept;
  static gboolean dispatch(GSource* source, GSourceFunc, gpointer) noexcept;
  static void finalize(GSource* source) noexcept;

  GSource* source_;
  Queue* queue_;
};

}  // namespace korvan
