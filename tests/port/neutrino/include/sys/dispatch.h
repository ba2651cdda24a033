// Names of channels.
#pragma once

#define NAME_FLAG_ATTACH_GLOBAL 0x00000002

using dispatch_t = struct _dispatch;
struct name_attach_t {
  dispatch_t* dpp;
  int chid;
  int mntid;
  int zero[2];
};

extern "C" {
name_attach_t* name_attach(dispatch_t* dpp, const char* path, unsigned flags);
int name_detach(name_attach_t* attach, unsigned flags);
int name_open(const char* name, int flags);
int name_close(int coid);
}
