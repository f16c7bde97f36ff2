#include "lab/Screen.h"

#include <string_view>

#include "lab/LabViews.h"

namespace korvan::lab {
namespace {

constexpr std::string_view ReturnKey = "\r";

class HeadlessScreen final : public Screen {
 public:
  explicit HeadlessScreen(bool pressesReturn) : pressesReturn_(pressesReturn) {}

  [[nodiscard]] Views& views() override { return views_; }

  [[nodiscard]] bool noticeIsUp() const override { return views_.hasButtonFor(ReturnKey); }

  void letUserAnswer() override {
    if (pressesReturn_) {
      views_.press(ReturnKey);
    }
  }

 private:
  LabViews views_;
  const bool pressesReturn_;
};

}  // namespace

std::unique_ptr<Screen> makeScreen(NoticeMode mode) {
  return std::make_unique<HeadlessScreen>(mode == NoticeMode::pressOk);
}

}  // namespace korvan::lab
