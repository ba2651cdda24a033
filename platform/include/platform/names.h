// Registering a channel under a name and connecting to it by that name, under Neutrino's own function names.
#pragma once

struct name_attach_t {
  int chid;  // the channel with this name, for MsgReceive
};

constexpr unsigned NAME_FLAG_ATTACH_GLOBAL = 0x2;

// Creates a channel (with _NTO_CHF_DISCONNECT) and registers it under the name. Returns null with EEXIST when a
// living process holds the name; the name of a dead process is taken over. `dpp` is null. Release with
// name_detach.
name_attach_t* name_attach(void* dpp, const char* path, unsigned flags);
int name_detach(name_attach_t* attach, unsigned flags);

// Connects to the channel with this name and returns the connection's id; -1 with ENOENT when no process holds
// the name.
int name_open(const char* name, int flags);
int name_close(int coid);
