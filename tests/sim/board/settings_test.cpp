// A struct of each type in one place.
#include "board/settings.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace zvgsim {
namespace {

struct Lamp {
  int watts = 40;
};
struct Door {
  std::string colour = "green";
};

TEST(Settings, WhatNobodySetIsAsItsTypeBegins) {
  const Settings settings;
  EXPECT_EQ(settings.of<Lamp>().watts, 40);
  EXPECT_EQ(settings.of<Door>().colour, "green");
}

TEST(Settings, EachTypeHasItsOwn) {
  Settings settings;
  settings.of<Lamp>().watts = 60;
  settings.of<Door>().colour = "red";
  EXPECT_EQ(settings.of<Lamp>().watts, 60);
  EXPECT_EQ(std::as_const(settings).of<Lamp>().watts, 60);
  EXPECT_EQ(std::as_const(settings).of<Door>().colour, "red");
}

TEST(Settings, CopiesAreSettingsOfTheirOwn) {
  Settings one;
  one.of<Lamp>().watts = 60;
  Settings other = one;
  other.of<Lamp>().watts = 75;
  EXPECT_EQ(one.of<Lamp>().watts, 60);
  EXPECT_EQ(other.of<Lamp>().watts, 75);
}

TEST(Settings, ReferencesStayGood) {
  Settings settings;
  Lamp& lamp = settings.of<Lamp>();
  settings.of<Door>().colour = "red";
  lamp.watts = 100;
  EXPECT_EQ(settings.of<Lamp>().watts, 100);
}

}  // namespace
}  // namespace zvgsim
