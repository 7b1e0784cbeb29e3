// What the models of a board are set to.
#ifndef ZVGSIM_BOARD_SETTINGS_H
#define ZVGSIM_BOARD_SETTINGS_H

#include <any>
#include <map>
#include <typeindex>

namespace zvgsim {

// A struct of each type, which only its own model knows. One that nobody set is as its type begins.
//
//   config.of<FlashSettings>().serial = "ZVG-1";
class Settings {
 public:
  // The reference stays good for as long as the settings are.
  template <typename Struct>
  Struct& of() {
    std::any& kept = kept_[typeid(Struct)];
    if (!kept.has_value()) kept = Struct();
    return *std::any_cast<Struct>(&kept);
  }
  template <typename Struct>
  const Struct& of() const {
    static const Struct unset{};
    const auto kept = kept_.find(typeid(Struct));
    return kept != kept_.end() ? *std::any_cast<Struct>(&kept->second) : unset;
  }

 private:
  std::map<std::type_index, std::any> kept_;
};

}  // namespace zvgsim

#endif  // ZVGSIM_BOARD_SETTINGS_H
