// Names under which a process offers a channel and others find it, under Neutrino's own names.
#pragma once

struct name_attach_t {
  int chid;  // the channel that the name leads to; MsgReceive waits on it
};

constexpr unsigned NAME_FLAG_ATTACH_GLOBAL = 0x2;

// Makes a channel (with _NTO_CHF_DISCONNECT) and gives it the name. A name that a living process holds fails
// with EEXIST; one left behind by a dead process is taken over. Returns null on failure. `dpp` is null. Release
// with name_detach.
name_attach_t* name_attach(void* dpp, const char* path, unsigned flags);
int name_detach(name_attach_t* attach, unsigned flags);

// Connects to the channel behind a name and returns the connection's id; -1 with ENOENT when nobody holds the
// name.
int name_open(const char* name, int flags);
int name_close(int coid);
