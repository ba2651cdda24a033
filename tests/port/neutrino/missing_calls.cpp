// Bodies for the calls of Neutrino, so that the linker finds every function that neither the application nor
// its port defines. The linked programs are never started.
#include <cstdlib>

#include <devctl.h>
#include <hw/inout.h>
#include <sched.h>
#include <sys/dispatch.h>
#include <sys/mman.h>
#include <sys/neutrino.h>
#include <time.h>

// clang-format off
int ChannelCreate(unsigned) { std::abort(); }
int ChannelDestroy(int) { std::abort(); }
int ConnectAttach(std::uint32_t, pid_t, int, unsigned, int) { std::abort(); }
int ConnectDetach(int) { std::abort(); }
long MsgSend(int, const void*, std::size_t, void*, std::size_t) { std::abort(); }
int MsgReceive(int, void*, std::size_t, _msg_info*) { std::abort(); }
int MsgReply(int, long, const void*, std::size_t) { std::abort(); }
int MsgError(int, int) { std::abort(); }
int MsgSendPulse(int, int, int, int) { std::abort(); }
int ThreadCtl(int, void*) { std::abort(); }
std::uint64_t ClockCycles() { std::abort(); }
name_attach_t* name_attach(dispatch_t*, const char*, unsigned) { std::abort(); }
int name_detach(name_attach_t*, unsigned) { std::abort(); }
int name_open(const char*, int) { std::abort(); }
int name_close(int) { std::abort(); }
std::uintptr_t mmap_device_io(std::size_t, std::uint64_t) { std::abort(); }
std::uint16_t in16(std::uintptr_t) { std::abort(); }
void out16(std::uintptr_t, std::uint16_t) { std::abort(); }
std::uint32_t in32(std::uintptr_t) { std::abort(); }
void out32(std::uintptr_t, std::uint32_t) { std::abort(); }
int devctl(int, int, void*, std::size_t, int*) { std::abort(); }
int getprio(pid_t) { std::abort(); }
void nsec2timespec(timespec*, std::uint64_t) { std::abort(); }
int pthread_mutex_init(neutrino_mutex_t*, const pthread_mutexattr_t*) { std::abort(); }
int pthread_mutex_destroy(neutrino_mutex_t*) { std::abort(); }
int pthread_mutex_lock(neutrino_mutex_t*) { std::abort(); }
int pthread_mutex_trylock(neutrino_mutex_t*) { std::abort(); }
int pthread_mutex_timedlock_monotonic(neutrino_mutex_t*, const timespec*) { std::abort(); }
int pthread_mutex_unlock(neutrino_mutex_t*) { std::abort(); }
