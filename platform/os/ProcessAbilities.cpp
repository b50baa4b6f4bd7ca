// Abilities as Linux has them: capabilities, and a system call filter for their bounds.
#include "platform/os/ProcessAbilities.h"

#include <grp.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/capability.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

namespace Tessel::Platform {

namespace {

constexpr std::uint32_t abilityMask = 0xffff;

// Of supplementary groups, from the first range for group ids on; 0: there is none yet.
gid_t lowestGroup = 0;

struct FreeCapabilities {
  void operator()(cap_t capabilities) const { cap_free(capabilities); }
};
using Capabilities = std::unique_ptr<std::remove_pointer_t<cap_t>, FreeCapabilities>;

struct FreeFilter {
  void operator()(void* filter) const { seccomp_release(filter); }
};
using Filter = std::unique_ptr<void, FreeFilter>;

// A system call that takes user or group ids, in its first arguments.
struct IdCall {
  int number;
  unsigned int ids;
};
constexpr std::array userCalls{
    IdCall{SCMP_SYS(setuid), 1},    IdCall{SCMP_SYS(setuid32), 1},
    IdCall{SCMP_SYS(setreuid), 2},  IdCall{SCMP_SYS(setreuid32), 2},
    IdCall{SCMP_SYS(setresuid), 3}, IdCall{SCMP_SYS(setresuid32), 3},
    IdCall{SCMP_SYS(setfsuid), 1},  IdCall{SCMP_SYS(setfsuid32), 1},
};
constexpr std::array groupCalls{
    IdCall{SCMP_SYS(setgid), 1},    IdCall{SCMP_SYS(setgid32), 1},
    IdCall{SCMP_SYS(setregid), 2},  IdCall{SCMP_SYS(setregid32), 2},
    IdCall{SCMP_SYS(setresgid), 3}, IdCall{SCMP_SYS(setresgid32), 3},
    IdCall{SCMP_SYS(setfsgid), 1},  IdCall{SCMP_SYS(setfsgid32), 1},
};

struct Bounded {
  std::uint32_t ability;
  cap_value_t capability;
  const IdCall* calls;
  std::size_t callCount;
};
constexpr std::array capable{
    Bounded{AbilitySetUserId, CAP_SETUID, userCalls.data(), userCalls.size()},
    Bounded{AbilitySetGroupId, CAP_SETGID, groupCalls.data(), groupCalls.size()},
    Bounded{AbilitySignalOthers, CAP_KILL, nullptr, 0},
};

const Bounded* capabilityOf(std::uint32_t ability) {
  const auto* const found = std::find_if(capable.begin(), capable.end(), [&](const Bounded& entry) {
    return entry.ability == ability;
  });
  return found == capable.end() ? nullptr : found;
}

// The ids below the bound, as blocks of which each has all ids with certain upper bits. A plain
// comparison would see 64 bits of an argument, of which the kernel then takes 32.
int refuseBelow(scmp_filter_ctx filter, const IdCall& call, std::uint32_t bound) {
  for (unsigned int argument = 0; argument < call.ids; ++argument) {
    for (std::uint32_t rest = bound; rest != 0;) {
      const std::uint32_t block = std::uint32_t{1} << std::countr_zero(rest);
      rest -= block;
      const scmp_arg_cmp inBlock = {argument, SCMP_CMP_MASKED_EQ,
                                    std::numeric_limits<std::uint32_t>::max() & ~(block - 1), rest};
      const int result =
          seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EPERM), call.number, 1, &inBlock);
      if (result != 0) return -result;
    }
  }
  return 0;
}

// The calls of the machine's other instruction sets reach the same ids.
int addOtherArchitectures(scmp_filter_ctx filter) {
  std::vector<std::uint32_t> others;
  if (seccomp_arch_native() == SCMP_ARCH_X86_64) others = {SCMP_ARCH_X86, SCMP_ARCH_X32};
  if (seccomp_arch_native() == SCMP_ARCH_AARCH64) others = {SCMP_ARCH_ARM};
  for (const std::uint32_t other : others) {
    if (const int result = seccomp_arch_add(filter, other); result != 0) return -result;
  }
  return 0;
}

// A process that may change ids may also map root's id into its user namespace, regardless of the
// ranges.
int refuseUserNamespaces(scmp_filter_ctx filter) {
  const scmp_arg_cmp newUser = {0, SCMP_CMP_MASKED_EQ, CLONE_NEWUSER, CLONE_NEWUSER};
  for (const int call : {SCMP_SYS(unshare), SCMP_SYS(clone)}) {
    const int result = seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EPERM), call, 1, &newUser);
    if (result != 0) return -result;
  }
  // Its flags are in memory. The C library does without it where it does not exist.
  return -seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0);
}

bool hasCapability(cap_value_t capability) {
  const Capabilities mine(cap_get_proc());
  cap_flag_value_t value = CAP_CLEAR;
  return mine && cap_get_flag(mine.get(), capability, CAP_EFFECTIVE, &value) == 0 &&
         value == CAP_SET;
}

int setCapabilities(const std::vector<cap_value_t>& kept) {
  const Capabilities wanted(cap_init());
  if (!wanted) return errno;
  for (const cap_flag_t flag : {CAP_PERMITTED, CAP_EFFECTIVE}) {
    if (!kept.empty() && cap_set_flag(wanted.get(), flag, static_cast<int>(kept.size()),
                                      kept.data(), CAP_SET) != 0) {
      return errno;
    }
  }
  return cap_set_proc(wanted.get()) == 0 ? 0 : errno;
}

// The kernel forbids processes other than root's to map the lowest pages of their memory.
int requireLowestAddress(std::uint64_t first) {
  std::ifstream file("/proc/sys/vm/mmap_min_addr");
  std::uint64_t lowest = 0;
  return file >> lowest && lowest >= first ? 0 : ENOTSUP;
}

// What a list of words comes to.
struct Abilities {
  std::vector<const Bounded*> allowed;
  std::vector<cap_value_t> denied;
  Filter filter;
  gid_t lowestGroup = 0;

  int take(const AbilityWord& entry);
  int bound(const Bounded& ability, const AbilityWord& entry);
};

int Abilities::bound(const Bounded& ability, const AbilityWord& entry) {
  if (entry.last != ~std::uint64_t{0} || !ability.calls || entry.first > INT32_MAX) return EINVAL;
  if (!filter) {
    filter.reset(seccomp_init(SCMP_ACT_ALLOW));
    if (!filter) return ENOMEM;
    if (const int error = addOtherArchitectures(filter.get()); error != 0) return error;
    if (const int error = refuseUserNamespaces(filter.get()); error != 0) return error;
  }
  const auto lowest = std::max<std::uint32_t>(1, static_cast<std::uint32_t>(entry.first));
  if (ability.ability == AbilitySetGroupId) lowestGroup = lowest;
  for (std::size_t i = 0; i < ability.callCount; ++i) {
    const int error = refuseBelow(filter.get(), ability.calls[i], lowest);
    if (error != 0) return error;
  }
  return 0;
}

int Abilities::take(const AbilityWord& entry) {
  const std::uint32_t number = entry.word & abilityMask;
  if (number == AbilityMapFixed) {
    // Allowed to everybody; only where from may be asked for, and is so already.
    return (entry.word & AbilityRange) != 0 ? requireLowestAddress(entry.first) : 0;
  }
  const Bounded* ability = capabilityOf(number);
  if (!ability) return EINVAL;
  switch (entry.word & (AbilityDeny | AbilityAllow | AbilityRange)) {
    case AbilityAllow:
      allowed.push_back(ability);
      return 0;
    case AbilityRange:
      return bound(*ability, entry);
    case AbilityDeny:
      denied.push_back(ability->capability);
      return 0;
    default:
      return EINVAL;
  }
}

int keepOnly(const std::vector<const Bounded*>& allowed) {
  std::vector<cap_value_t> kept;
  kept.reserve(allowed.size());
  for (const Bounded* ability : allowed) kept.push_back(ability->capability);
  if (::prctl(PR_SET_KEEPCAPS, 1) != 0) return errno;
  return setCapabilities(kept);
}

// What exec could bring back of root's rights.
int emptyBoundingSet() {
  if (!hasCapability(CAP_SETPCAP)) return 0;  // nor can it be emptied
  for (cap_value_t capability = 0; CAP_IS_SUPPORTED(capability); ++capability) {
    if (cap_drop_bound(capability) != 0) return errno;
  }
  return 0;
}

int install(scmp_filter_ctx filter) {
  // Together with the filter: a set-user-id program would meet errors where it expects none.
  int result = seccomp_attr_set(filter, SCMP_FLTATR_CTL_NNP, 1);
  // Every system call of every descendant passes it: as a tree, not as a list.
  if (result == 0) result = seccomp_attr_set(filter, SCMP_FLTATR_CTL_OPTIMIZE, 2);
  if (result == 0) result = seccomp_load(filter);
  return -result;
}

int giveUp(const std::vector<cap_value_t>& denied) {
  std::vector<cap_value_t> kept;
  for (const Bounded& ability : capable) {
    const bool stays = std::find(denied.begin(), denied.end(), ability.capability) == denied.end();
    if (stays && hasCapability(ability.capability)) kept.push_back(ability.capability);
  }
  return setCapabilities(kept);
}

}  // namespace

int procmgr_ability(pid_t process, std::initializer_list<AbilityWord> words) {
  if (process != 0) return ESRCH;
  Abilities abilities;
  for (const AbilityWord& entry : words) {
    if (const int error = abilities.take(entry); error != 0) return error;
  }
  if (abilities.filter) {
    if (const int error = emptyBoundingSet(); error != 0) return error;
    if (const int error = install(abilities.filter.get()); error != 0) return error;
    lowestGroup = std::max(lowestGroup, abilities.lowestGroup);
  }
  if (!abilities.allowed.empty()) {
    if (const int error = keepOnly(abilities.allowed); error != 0) return error;
  }
  return abilities.denied.empty() ? 0 : giveUp(abilities.denied);
}

int switchGroups(std::span<const gid_t> groups) {
  const auto isBelow = [](gid_t group) { return group < lowestGroup; };
  if (std::any_of(groups.begin(), groups.end(), isBelow)) return EPERM;
  return ::setgroups(groups.size(), groups.data()) == 0 ? 0 : errno;
}

int switchUser(uid_t user) {
  if (::setuid(user) != 0) return errno;
  // The kernel kept the permitted capabilities, but cleared the effective ones.
  const Capabilities mine(cap_get_proc());
  if (!mine) return errno;
  std::vector<cap_value_t> permitted;
  for (const Bounded& ability : capable) {
    cap_flag_value_t value = CAP_CLEAR;
    if (cap_get_flag(mine.get(), ability.capability, CAP_PERMITTED, &value) == 0 &&
        value == CAP_SET) {
      permitted.push_back(ability.capability);
    }
  }
  if (const int error = setCapabilities(permitted); error != 0) return error;
  return ::prctl(PR_SET_KEEPCAPS, 0) == 0 ? 0 : errno;
}

}  // namespace Tessel::Platform
