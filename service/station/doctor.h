// Which ways to a board this host has, and who may take them.
#ifndef ZVG_SERVICE_STATION_DOCTOR_H
#define ZVG_SERVICE_STATION_DOCTOR_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "service/json.h"

namespace zvg {

// Who asks.
struct Person {
  uid_t user = 0;
  std::vector<gid_t> groups;

  static Person myself();
};

struct Way {
  std::string door = {};    // "driver", "serial", "memory"
  std::string path = {};    // the node
  std::string detail = {};  // what is known of it; empty for nothing
  bool there = false;
  bool usable = false;
  std::string reason = {};  // why not; empty when usable
  std::string remedy = {};  // the command that mends it; empty where none is known
};

struct Diagnosis {
  std::string user = {};
  std::vector<std::string> groups = {};
  std::vector<Way> ways = {};

  bool any_usable() const;
};

// Opens nothing: what it looks at disturbs nobody. root: where the host's files are, but for tests
// the empty text.
Diagnosis diagnose(const Person& person, const std::string& root = "");

Json to_json(const Diagnosis& diagnosis);

}  // namespace zvg

#endif  // ZVG_SERVICE_STATION_DOCTOR_H
