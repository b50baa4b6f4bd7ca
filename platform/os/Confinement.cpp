// Drops rights of a process irrevocably. Any thread.
#include "platform/os/Confinement.h"

#include <seccomp.h>
#include <sys/prctl.h>

#include <array>
#include <cerrno>
#include <memory>
#include <vector>

namespace Tessel::Platform {

namespace {

struct FilterRelease {
  void operator()(void* filter) const { seccomp_release(filter); }
};

// Names, for not every machine and library has all of them.
constexpr std::array deniedCalls{
    // Into other processes.
    "ptrace", "process_vm_readv", "process_vm_writev", "process_madvise", "pidfd_getfd",
    "move_pages", "migrate_pages",
    // Into the kernel.
    "bpf", "perf_event_open", "userfaultfd", "io_uring_setup", "io_uring_enter",
    "io_uring_register", "lookup_dcookie", "kexec_load", "kexec_file_load", "init_module",
    "finit_module", "delete_module", "syslog", "modify_ldt", "vm86", "vm86old", "uselib", "iopl",
    "ioperm",
    // Keys of the user and of others.
    "add_key", "keyctl", "request_key",
    // Around the rights of files.
    "open_by_handle_at", "fanotify_init", "quotactl", "quotactl_fd",
    // The machine.
    "acct", "swapon", "swapoff", "reboot", "settimeofday", "clock_settime", "clock_adjtime",
    "adjtimex", "vhangup"};

std::vector<std::uint32_t> otherArchitectures() {
  switch (seccomp_arch_native()) {
    case SCMP_ARCH_X86_64:
      return {SCMP_ARCH_X86, SCMP_ARCH_X32};
    case SCMP_ARCH_AARCH64:
      return {SCMP_ARCH_ARM};
    default:
      return {};
  }
}

}  // namespace

int confineProcess() {
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return errno;
  const std::unique_ptr<void, FilterRelease> filter(seccomp_init(SCMP_ACT_ALLOW));
  if (!filter) return ENOMEM;
  int result = 0;
  for (const std::uint32_t other : otherArchitectures()) {
    if (result == 0) result = seccomp_arch_add(filter.get(), other);
  }
  for (const char* name : deniedCalls) {
    const int call = seccomp_syscall_resolve_name(name);
    if (call == __NR_SCMP_ERROR || result != 0) continue;
    result = seccomp_rule_add(filter.get(), SCMP_ACT_ERRNO(EPERM), call, 0);
  }
  if (result == 0) result = seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_TSYNC, 1);
  // A search instead of a list: every call of the process goes through it.
  if (result == 0) result = seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_OPTIMIZE, 2);
  if (result == 0) result = seccomp_load(filter.get());
  return -result;
}

}  // namespace Tessel::Platform
