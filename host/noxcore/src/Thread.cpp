#include <noxcore/threads/Thread.h>

#include <sys/syscall.h>
#include <unistd.h>

namespace noxcore::threads {

std::uint64_t GetCurrentThreadID() { return static_cast<std::uint64_t>(::syscall(SYS_gettid)); }

}  // namespace noxcore::threads
