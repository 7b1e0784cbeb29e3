// The descriptions of the registers agree with themselves, on every generation.
#include "hw/register_map.h"

#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "hw/bus.h"

namespace {

using namespace zvg::hw;

// Nothing of it is computed when a program starts.
static_assert(blocks[0]->registers.size() > 0);
static_assert(field("", 0x1FF0000, "").low == 16 && field("", 0x1FF0000, "").high == 24);
static_assert(field("", 0xFFFFFFFF, "").mask() == 0xFFFFFFFF);

constexpr uint32_t bytes_of(const Register& reg) {
  return reg.width / 8u;
}

// How many addresses a register takes: where an address is a byte, as many as it has.
uint32_t addresses_of(const Block& block, const Register& reg) {
  return block.space == Space::mmio || block.space == Space::pci ? bytes_of(reg) : 1;
}

std::string name_of(const Block& block, const Register& reg) {
  return std::string(block.name) + "." + reg.name;
}

template <typename Check>
void for_each_register(Check check) {
  for (const Block* block : blocks) {
    for (const Register& reg : block->registers) {
      SCOPED_TRACE(name_of(*block, reg));
      check(*block, reg);
    }
  }
}

bool is_name(const std::string& text) {
  if (text.empty() || std::isdigit(static_cast<unsigned char>(text[0])) != 0) return false;
  for (const char c : text) {
    const bool fits = std::islower(static_cast<unsigned char>(c)) != 0 ||
                      std::isdigit(static_cast<unsigned char>(c)) != 0 || c == '_';
    if (!fits) return false;
  }
  return true;
}

TEST(RegisterMap, NamesAreUniqueInABlock) {
  for (const Block* block : blocks) {
    std::set<std::string> names;
    for (const Register& reg : block->registers) {
      EXPECT_TRUE(is_name(reg.name)) << name_of(*block, reg);
      EXPECT_TRUE(names.insert(reg.name).second) << name_of(*block, reg);
    }
  }
}

TEST(RegisterMap, NamesOfFieldsAreUniqueInARegister) {
  for_each_register([](const Block&, const Register& reg) {
    std::set<std::string> names;
    for (const Field& field : reg.fields) {
      EXPECT_TRUE(is_name(field.name)) << field.name;
      EXPECT_TRUE(names.insert(field.name).second) << field.name;
    }
  });
}

TEST(RegisterMap, NamesOfValuesAreUniqueInAField) {
  for_each_register([](const Block&, const Register& reg) {
    for (const Field& field : reg.fields) {
      std::set<std::string> names;
      std::set<uint32_t> values;
      for (const Value& value : field.values) {
        EXPECT_TRUE(names.insert(value.name).second) << field.name << " " << value.name;
        EXPECT_TRUE(values.insert(value.value).second) << field.name << " " << value.value;
      }
    }
  });
}

TEST(RegisterMap, EverythingIsDescribed) {
  for (const Block* block : blocks) EXPECT_NE(*block->description, '\0') << block->name;
  for_each_register([](const Block&, const Register& reg) {
    EXPECT_NE(*reg.description, '\0');
    for (const Field& field : reg.fields) EXPECT_NE(*field.description, '\0') << field.name;
  });
}

TEST(RegisterMap, WidthsAreThoseOfAccesses) {
  for_each_register([](const Block& block, const Register& reg) {
    const std::set<unsigned> widths = block.space == Space::mmio || block.space == Space::pci
                                          ? std::set<unsigned>{8, 16, 32}
                                      : block.space == Space::cdb ? std::set<unsigned>{16}
                                                                  : std::set<unsigned>{8};
    EXPECT_EQ(widths.count(reg.width), 1u) << unsigned{reg.width};
  });
}

TEST(RegisterMap, FieldsLieInsideTheRegisterAndApart) {
  for_each_register([](const Block&, const Register& reg) {
    uint32_t taken = 0;
    for (const Field& field : reg.fields) {
      EXPECT_LE(field.low, field.high) << field.name;
      EXPECT_LT(field.high, reg.width) << field.name;
      EXPECT_EQ(taken & field.mask(), 0u) << field.name;
      taken |= field.mask();
    }
  });
}

TEST(RegisterMap, ValuesFitTheirFields) {
  for_each_register([](const Block&, const Register& reg) {
    for (const Field& field : reg.fields) {
      for (const Value& value : field.values) {
        EXPECT_LE(value.value, field.mask() >> field.low) << field.name << " " << value.name;
      }
    }
  });
}

TEST(RegisterMap, ResetValuesFitTheirRegisters) {
  for_each_register([](const Block&, const Register& reg) {
    if (reg.reset != unknown_reset) {
      EXPECT_EQ(reg.reset >> reg.width, 0);
    }
  });
}

TEST(RegisterMap, RegistersAreAlignedAndInsideTheirBlock) {
  for_each_register([](const Block& block, const Register& reg) {
    const uint32_t addresses = addresses_of(block, reg);
    EXPECT_EQ(reg.offset % addresses, 0u);
    EXPECT_EQ(reg.stride % addresses, 0u);
    ASSERT_GE(reg.count, 1u);
    EXPECT_LE(reg.offset + (reg.count - 1) * reg.stride + addresses, block.size);
  });
}

TEST(RegisterMap, RegistersOfABlockLieApart) {
  for (const Block* block : blocks) {
    std::map<uint32_t, std::string> owners;
    for (const Register& reg : block->registers) {
      for (uint32_t i = 0; i < reg.count; ++i) {
        for (uint32_t n = 0; n < addresses_of(*block, reg); ++n) {
          const auto [owner, is_new] =
              owners.emplace(reg.offset + i * reg.stride + n, name_of(*block, reg));
          EXPECT_TRUE(is_new) << name_of(*block, reg) << " and " << owner->second;
        }
      }
    }
  }
}

TEST(RegisterMap, RepeatedRegistersAreApart) {
  for_each_register([](const Block& block, const Register& reg) {
    if (reg.count > 1) {
      EXPECT_GE(reg.stride, addresses_of(block, reg));
    }
  });
}

TEST(RegisterMap, AWriteOnlyRegisterGivesNothingAway) {
  for_each_register([](const Block&, const Register& reg) {
    if (reg.access == Access::write_only) {
      EXPECT_NE(reg.effect, Effect::read_takes);
    }
    if (reg.access == Access::read_only) {
      EXPECT_NE(reg.effect, Effect::write_starts);
    }
  });
}

TEST(RegisterMap, EveryBlockIsOnSomeGeneration) {
  for (const Block* block : blocks) {
    uint32_t instances = 0;
    for (const Chip& chip : chips) instances += block->instance_count(chip);
    EXPECT_GT(instances, 0u) << block->name;
  }
}

TEST(RegisterMap, AGenerationHasABlockOfANameOnce) {
  for (const Chip& chip : chips) {
    std::set<std::string> names;
    for (const Block* block : blocks) {
      if (block->instance_count(chip) == 0) continue;
      EXPECT_TRUE(names.insert(block->name).second) << chip.name << " " << block->name;
    }
  }
}

TEST(RegisterMap, EveryInstanceIsInsideTheRegisterSpace) {
  for (const Chip& chip : chips) {
    for (const Block* block : blocks) {
      if (block->space != Space::mmio) continue;
      std::set<uint32_t> bases;
      for (uint32_t i = 0; i < block->instance_count(chip); ++i) {
        const uint32_t base = block->base(chip, i);
        EXPECT_TRUE(bases.insert(base).second) << chip.name << " " << block->name << " " << i;
        EXPECT_LE(uint64_t{base} + block->size, mmio_size) << chip.name << " " << block->name;
      }
    }
  }
}

// The controllers' timing and the video input share their place: which of the two is seen there is
// not known.
bool share_their_place(const std::string& one, const std::string& other) {
  const auto is = [](const std::string& name, const char* block) {
    return name.rfind(std::string(block) + ".", 0) == 0;
  };
  const auto is_video = [&](const std::string& name) {
    return is(name, "capture") || is(name, "overlay") || is(name, "overlay_frame");
  };
  return (is(one, "crtc") && is_video(other)) || (is(other, "crtc") && is_video(one));
}

// A register of one block at the place of another's is one written down twice.
TEST(RegisterMap, NoRegisterIsDescribedTwice) {
  for (const Chip& chip : chips) {
    std::map<uint64_t, std::string> owners;
    for (const Block* block : blocks) {
      const uint64_t space = static_cast<uint64_t>(block->space) << 32;
      for (uint32_t i = 0; i < block->instance_count(chip); ++i) {
        // The other spaces have all instances at the same addresses.
        if (block->space != Space::mmio && i > 0) break;
        for (const Register& reg : block->registers) {
          for (uint32_t n = 0; n < reg.count; ++n) {
            const uint64_t address =
                space | (uint64_t{block->base(chip, i)} + reg.offset + n * reg.stride);
            const auto [owner, is_new] = owners.emplace(address, name_of(*block, reg));
            if (share_their_place(name_of(*block, reg), owner->second)) continue;
            EXPECT_TRUE(is_new) << chip.name << ": " << name_of(*block, reg) << " and "
                                << owner->second;
          }
        }
      }
    }
  }
}

TEST(RegisterMap, IsWorthItsName) {
  for (const Chip& chip : chips) {
    unsigned registers = 0;
    unsigned instances = 0;
    for (const Block* block : blocks) {
      const unsigned places = block->instance_count(chip);
      if (places == 0) continue;
      for (const Register& reg : block->registers) {
        ++registers;
        instances += places * reg.count;
      }
    }
    EXPECT_GE(registers, 150u) << chip.name;
    EXPECT_GE(instances, 400u) << chip.name;
    RecordProperty(std::string(chip.name) + "_registers", static_cast<int>(registers));
    RecordProperty(std::string(chip.name) + "_instances", static_cast<int>(instances));
  }
}

}  // namespace
