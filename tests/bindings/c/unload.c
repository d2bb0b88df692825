/* Unloads the library while its threads wait for a host that has not answered, and then answers. What the library still runs must
 * be there. Ends with 0 when it is.
 *   c-unload LIBRARY */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "vellora.h"

typedef vellora_error* open_function(const vellora_options*, vellora_catalog**);
typedef int32_t reply_function(vellora_request*, const vellora_response*);

static int sent[2];

static void send_later(void* context, const vellora_request_info* info, vellora_request* request) {
  (void)context;
  (void)info;
  if (write(sent[1], &request, sizeof request) != sizeof request) _exit(3);
}

/* A function's address: ISO C has no conversion from that of an object. */
static void find(void* library, const char* name, void* function) {
  void* found = dlsym(library, name);
  if (found == NULL) _exit(3);
  memcpy(function, &found, sizeof found);
}

int main(int count, char** arguments) {
  alarm(60); /* ends a process that hangs */
  if (count != 2 || pipe(sent) != 0) return 2;
  void* library = dlopen(arguments[1], RTLD_NOW);
  if (library == NULL) return 2;
  open_function* open_catalog;
  reply_function* reply;
  find(library, "vellora_open", &open_catalog);
  find(library, "vellora_reply", &reply);

  vellora_network network;
  memset(&network, 0, sizeof network);
  network.struct_size = sizeof network;
  network.send = send_later;
  vellora_options options;
  memset(&options, 0, sizeof options);
  options.struct_size = sizeof options;
  options.network = &network;
  vellora_catalog* catalog;
  if (open_catalog(&options, &catalog) != NULL) return 2;
  vellora_request* request;
  if (read(sent[0], &request, sizeof request) != sizeof request) return 2;

  dlclose(library);
  if (dlopen(arguments[1], RTLD_NOW | RTLD_NOLOAD) == NULL) {
    fputs("the library is gone, and its threads are not\n", stderr);
    return 1;
  }
  return reply(request, NULL);
}
