// The keys that the chrome has reserved: it is told of them wherever the keyboard is, and no page
// gets them, also while one hangs. UI thread.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Platform::Graphics {

// A key of the keyboard with the modifiers that are held.
struct KeyCombination {
  unsigned int key = 0;  // of the X keyboard: the Unicode number of a Latin-1 character, small
                         // letters; from 0xFF00 on keys without a character
  bool control = false;
  bool alt = false;
  bool shift = false;
  bool meta = false;
  friend bool operator==(const KeyCombination&, const KeyCombination&) = default;
};

class ReservedKeys {
 public:
  using Listener = std::function<void(const std::string& name)>;

  static ReservedKeys& instance();

  // Reserves these instead of the former ones: names such as "Ctrl+Shift+Tab", "F6" or "Ctrl++",
  // with the key as documents call it, and the modifiers Ctrl, Alt, Shift and Meta before it.
  // False, without effect, if one is no such name or they are more than 256.
  bool reserve(const std::vector<std::string_view>& names);
  // Called with the name, as it was reserved, of each reserved key that is pressed.
  void setListener(Listener listener) { listener_ = std::move(listener); }

  // Whether the key is reserved; the window system calls it for each press. A repeated one is taken
  // but not told: a tab more that closes because a key was held is nobody's wish.
  bool press(KeyCombination pressed, bool isRepeated = false);

 private:
  struct Reserved {
    KeyCombination keys;
    std::string name;
  };
  std::vector<Reserved> reserved_;
  Listener listener_;
};

}  // namespace Tessel::Platform::Graphics
