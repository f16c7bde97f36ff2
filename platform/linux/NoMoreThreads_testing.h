#pragma once

#include <array>

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace korvan {

/// While it lives, the system refuses new threads to this process, as it does to a user with too
/// many. Make and destroy it on the same thread.
class NoMoreThreads {
 public:
  NoMoreThreads() {
    EXPECT_EQ(::getrlimit(RLIMIT_NPROC, &before_), 0);
    if (isRoot_) {
      becomeSomebody();
    }
    const rlimit none{.rlim_cur = 0, .rlim_max = before_.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_NPROC, &none), 0);
  }
  NoMoreThreads(const NoMoreThreads&) = delete;
  NoMoreThreads& operator=(const NoMoreThreads&) = delete;
  NoMoreThreads(NoMoreThreads&&) = delete;
  NoMoreThreads& operator=(NoMoreThreads&&) = delete;
  ~NoMoreThreads() {
    EXPECT_EQ(::setrlimit(RLIMIT_NPROC, &before_), 0);
    if (isRoot_) {
      EXPECT_EQ(::syscall(SYS_capset, &header_, powers_.data()), 0);
      EXPECT_EQ(::setresuid(Root, Root, Root), 0);
    }
  }

 private:
  /// The limit holds neither for root nor for those who may pass it.
  void becomeSomebody() {
    EXPECT_EQ(::syscall(SYS_capget, &header_, powers_.data()), 0);
    // The function changes every thread: GLib may start threads on one of its own.
    EXPECT_EQ(::setresuid(Nobody, Nobody, Root), 0);
    // The system calls change this thread only, which goes on as the owner of its files.
    EXPECT_EQ(::syscall(SYS_setresuid, -1, Root, -1), 0);
    auto fewer = powers_;
    fewer[0].effective &= ~(1U << CAP_SYS_RESOURCE | 1U << CAP_SYS_ADMIN);
    EXPECT_EQ(::syscall(SYS_capset, &header_, fewer.data()), 0);
  }

  static constexpr uid_t Root = 0;
  static constexpr uid_t Nobody = 65534;
  const bool isRoot_ = ::getuid() == Root;
  rlimit before_{};
  __user_cap_header_struct header_{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
  std::array<__user_cap_data_struct, 2> powers_{};
};

}  // namespace korvan
