#pragma once

#include <cstdlib>
#include <memory>

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "Room.h"
#include "SettingsFile.h"
#include "platform.h"

/// A started platform in a room.
class Contract : public testing::Test {
 protected:
  void SetUp() override {
    setenv(settings::kDirectoryVariable, "/run/settings", 1);
    m_room = Room::Enter();
    ASSERT_EQ(platform_start(), 0);
    Settle();
  }
  void TearDown() override { platform_stop(); }

  void Settle() { RunLoopFor(m_room->Settling()); }

  std::unique_ptr<Room> m_room;
};
