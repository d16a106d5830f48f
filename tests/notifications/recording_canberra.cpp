// Stands for the sound library: its one theme has the event "dialog-information" and no other. Writes a line
// for each event that it is asked for to the file that SOUND_JOURNAL names, and plays in no time. Like a real
// one with a sound server that does not answer, it never returns from what SOUND_HANGS names: "play" or
// "destroy".

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include <canberra.h>

struct ca_context {};
struct ca_proplist {
  std::string event;
};

namespace {

void hangIf(const std::string& where) {
  const char* const hangs = std::getenv("SOUND_HANGS");
  while (hangs && where == hangs)
    pause();
}

}  // namespace

extern "C" {

int ca_context_create(ca_context** context) {
  *context = new ca_context;
  return CA_SUCCESS;
}

int ca_context_destroy(ca_context* context) {
  hangIf("destroy");
  delete context;
  return CA_SUCCESS;
}

int ca_proplist_create(ca_proplist** properties) {
  *properties = new ca_proplist;
  return CA_SUCCESS;
}

int ca_proplist_destroy(ca_proplist* properties) {
  delete properties;
  return CA_SUCCESS;
}

int ca_proplist_sets(ca_proplist* properties, const char* key, const char* value) {
  if (std::string(key) == CA_PROP_EVENT_ID) properties->event = value;
  return CA_SUCCESS;
}

int ca_context_play_full(ca_context* context, uint32_t id, ca_proplist* properties,
                         ca_finish_callback_t finished, void* data) {
  if (std::FILE* const journal = std::fopen(std::getenv("SOUND_JOURNAL"), "a")) {
    std::fprintf(journal, "%s\n", properties->event.c_str());
    std::fclose(journal);
  }
  hangIf("play");
  if (properties->event != "dialog-information") return CA_ERROR_NOTFOUND;
  finished(context, id, CA_SUCCESS, data);
  return CA_SUCCESS;
}
}
