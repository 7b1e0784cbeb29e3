#include "service/station/doctor.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "hw/driver_requests.h"
#include "service/board/error.h"

namespace zvg {

namespace {

namespace fs = std::filesystem;

std::string user_name(uid_t user) {
  const passwd* const entry = getpwuid(user);
  return entry == nullptr ? std::to_string(user) : entry->pw_name;
}

std::string group_name(gid_t group) {
  const ::group* const entry = getgrgid(group);
  return entry == nullptr ? std::to_string(group) : entry->gr_name;
}

bool is_in(const Person& person, gid_t group) {
  return std::find(person.groups.begin(), person.groups.end(), group) != person.groups.end();
}

// Whether the mode lets the person read and write.
bool may_use(const Person& person, const struct stat& status) {
  constexpr mode_t read_write = 6;
  if (person.user == 0) return true;
  unsigned shift = 0;
  if (status.st_uid == person.user) {
    shift = 6;
  } else if (is_in(person, status.st_gid)) {
    shift = 3;
  }
  return (status.st_mode >> shift & read_write) == read_write;
}

// What would let the person in. A group that may, other than root's, is the gentle way.
void forbid(Way& way, const Person& person, const struct stat& status) {
  constexpr mode_t group_read_write = 060;
  way.reason = format("%s may not read and write it: it belongs to %s, group %s, mode %04o",
                      user_name(person.user).c_str(), user_name(status.st_uid).c_str(),
                      group_name(status.st_gid).c_str(), status.st_mode & 07777);
  const bool by_group = (status.st_mode & group_read_write) == group_read_write &&
                        status.st_gid != 0 && !is_in(person, status.st_gid);
  way.remedy = by_group ? format("sudo usermod -aG %s %s, then log in again",
                                 group_name(status.st_gid).c_str(), user_name(person.user).c_str())
                        : "run zvgctl as root (sudo zvgctl ...)";
}

// A node. Access lists, which the mode does not show, count for whoever really asks.
Way look_at(const char* door, const std::string& path, const Person& person,
            const std::string& root) {
  Way way = {.door = door, .path = path};
  struct stat status;
  way.there = stat((root + path).c_str(), &status) == 0;
  if (!way.there) return way;
  way.usable = may_use(person, status) ||
               (root.empty() && person.user == geteuid() && access(path.c_str(), R_OK | W_OK) == 0);
  if (!way.usable) forbid(way, person, status);
  return way;
}

std::string first_line(const fs::path& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

Way driver_way(const Person& person, const std::string& root) {
  Way way = look_at("driver", hw::driver::node, person, root);
  if (!way.there) {
    way.reason = "it is not there: the board's driver is not loaded, or there is no board";
    way.remedy = "load the board's kernel driver; without one: --mem, --serial or --sim";
  }
  return way;
}

void add_serial_ways(std::vector<Way>& ways, const Person& person, const std::string& root) {
  std::vector<std::string> names;
  std::error_code none;
  for (const fs::directory_entry& node : fs::directory_iterator(root + "/dev", none)) {
    const std::string name = node.path().filename().string();
    for (const char* const kind : {"ttyUSB", "ttyACM", "ttyAMA"}) {
      if (name.starts_with(kind)) names.push_back(name);
    }
    // Most of these stand for ports that no host has; the kernel's type is 0 for them.
    if (name.starts_with("ttyS") && name.size() > 4) {
      const std::string type = first_line(root + "/sys/class/tty/" + name + "/type");
      if (!type.empty() && type != "0") names.push_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    ways.push_back(look_at("serial", "/dev/" + name, person, root));
  }
}

// What --mem could be given: the memory of display controllers.
std::string apertures(const std::string& root) {
  std::string text;
  std::error_code none;
  std::vector<fs::path> functions;
  for (const auto& function : fs::directory_iterator(root + "/sys/bus/pci/devices", none)) {
    functions.push_back(function.path());
  }
  std::sort(functions.begin(), functions.end());
  for (const fs::path& function : functions) {
    if (!first_line(function / "class").starts_with("0x03")) continue;
    text += format("%sdisplay controller %s (%s:%s)", text.empty() ? "" : "; ",
                   function.filename().c_str(), first_line(function / "vendor").c_str(),
                   first_line(function / "device").c_str());
    std::ifstream resources(function / "resource");
    uint64_t begin = 0, end = 0, flags = 0;
    constexpr uint64_t is_memory = 0x200;
    while (resources >> std::hex >> begin >> end >> flags) {
      if ((flags & is_memory) == 0) continue;
      text += " " + address_text(begin) + ":" + address_text(end - begin + 1);
    }
  }
  return text;
}

Way memory_way(const Person& person, const std::string& root) {
  Way way = look_at("memory", "/dev/mem", person, root);
  way.detail = apertures(root);
  const std::string lockdown = first_line(root + "/sys/kernel/security/lockdown");
  if (!way.there) {
    way.reason = "it is not there: the kernel was built without it, or this is a container";
  } else if (lockdown.find("[integrity]") != std::string::npos ||
             lockdown.find("[confidentiality]") != std::string::npos) {
    way.usable = false;
    way.reason = "the kernel is locked down and lets nobody map it";
    way.remedy = "use the driver, or start the host without secure boot";
  } else if (person.user != 0) {
    // The mode is not enough: the kernel asks for a capability.
    way.usable = false;
    if (way.reason.empty()) way.reason = "the kernel lets only root map it";
    way.remedy = "run zvgctl as root (sudo zvgctl ...)";
  }
  return way;
}

}  // namespace

Person Person::myself() {
  Person person = {geteuid(), {getegid()}};
  const int count = getgroups(0, nullptr);
  if (count > 0) {
    std::vector<gid_t> more(static_cast<size_t>(count));
    if (getgroups(count, more.data()) == count) {
      for (const gid_t group : more) {
        if (!is_in(person, group)) person.groups.push_back(group);
      }
    }
  }
  return person;
}

bool Diagnosis::any_usable() const {
  return std::any_of(ways.begin(), ways.end(), [](const Way& way) { return way.usable; });
}

Diagnosis diagnose(const Person& person, const std::string& root) {
  Diagnosis diagnosis = {.user = user_name(person.user)};
  for (const gid_t group : person.groups) diagnosis.groups.push_back(group_name(group));
  diagnosis.ways.push_back(driver_way(person, root));
  add_serial_ways(diagnosis.ways, person, root);
  diagnosis.ways.push_back(memory_way(person, root));
  return diagnosis;
}

Json to_json(const Diagnosis& diagnosis) {
  const auto text = [](const std::string& value) { return value.empty() ? Json() : Json(value); };
  Json ways = Json::array();
  for (const Way& way : diagnosis.ways) {
    ways.push_back({{"door", way.door},
                    {"path", way.path},
                    {"detail", text(way.detail)},
                    {"there", way.there},
                    {"usable", way.usable},
                    {"reason", text(way.reason)},
                    {"remedy", text(way.remedy)}});
  }
  return {{"user", diagnosis.user}, {"groups", diagnosis.groups}, {"ways", ways}};
}

}  // namespace zvg
