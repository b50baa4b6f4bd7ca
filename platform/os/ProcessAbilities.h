// What a process that gives up being root may still do, and within which bounds. For a process with
// one thread: the kernel keeps all this for each thread.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <initializer_list>
#include <span>

namespace Tessel::Platform {

// The parts of a word: the number of an ability ...
enum AbilityBits : std::uint32_t {
  AbilitySetUserId = 2,
  AbilitySetGroupId = 3,
  AbilityMapFixed = 39,      // mapping memory at an address of one's choice
  AbilitySignalOthers = 43,  // sending signals to processes of other users
  // The operation on the ability; added to its number.
  AbilityDeny = 0x00010000,
  AbilityAllow = 0x00020000,
  AbilityRange = 0x00040000,  // allowed from `first` to `last` and not outside
  AbilityLock = 0x00080000,   // nothing later changes it
  AbilityInherit = 0x00400000,
  AbilityNonRoot = 0x20000000,  // while the process is not root's
};

struct AbilityWord {
  std::uint32_t word;
  std::uint64_t first = 0;
  std::uint64_t last = ~std::uint64_t{0};
};

// Applies the words in their order to a process; only to 0, this one. 0 or a number of errno.
//
// Words that allow something are for root: of root's rights it keeps those that are allowed, across
// switchUser(), and gives up all others at once. A range's lower bound is the kernel's to enforce
// from then on, for this process and every descendant, whatever rights that has; 0, which is
// root's, is never in it. Words that deny give the rights up for good. EINVAL for a range with an
// upper bound and for words that mean nothing here.
//
// With the first range the process and its descendants gain nothing from set-user-id programs and
// file capabilities any more (no-new-privileges), and its bounding set is emptied.
int procmgr_ability(pid_t process, std::initializer_list<AbilityWord> words);

// setgroups(2) within the range that procmgr_ability set for group ids: EPERM for a group below it,
// and for root's, once there is a range. The list is in memory, where the kernel's filter sees
// nothing, so it is this process that checks it; a process that has denied itself group ids has no
// groups to set at all. 0 or a number of errno.
int switchGroups(std::span<const gid_t> groups);

// setuid(2) that keeps the rights which procmgr_ability left. 0 or a number of errno.
int switchUser(uid_t user);

}  // namespace Tessel::Platform
