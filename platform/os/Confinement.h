// Drops rights of a process and all its future descendants irrevocably. Any thread; applies to all
// threads of the process.
#pragma once

namespace Tessel::Platform {

// No descendant gains rights by being executed, and none of them can look into or trace other
// processes, take their descriptors, or reach the parts of the kernel that only its administrator
// needs (keys, measuring, loading code into it and the like): such calls fail with EPERM. What the
// engine's sandbox needs, user namespaces and mounts inside them, stays. 0, or a number of errno;
// then only some of it may have been done.
int confineProcess();

}  // namespace Tessel::Platform
