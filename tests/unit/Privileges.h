#pragma once

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

/// The superuser with no more rights than an owner has, so that permissions count.
inline void GiveUpPrivileges() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct none[2]{};
  ASSERT_EQ(syscall(SYS_capset, &header, none), 0);
}
