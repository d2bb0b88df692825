/*
 * A host of one's own in C: a network. The "server" is a folder of answers, so that the example needs none; a real host
 * calls its own HTTP stack in the same place.
 *
 *     c-own-host FOLDER RECORD-ID      FOLDER/services/data/v50.0/sobjects and .../theme hold the answers
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <vellora.h>

/* [read] */
/* The bytes of the file that holds the answer to `url`; NULL when there is none. The caller frees them. */
static char* answer_to(const char* folder, const vellora_text* url, size_t* size) {
  const char* query = memchr(url->bytes, '?', url->size);
  const size_t length = query != NULL ? (size_t)(query - url->bytes) : url->size;
  char path[4096];
  snprintf(path, sizeof path, "%s%.*s", folder, (int)length, url->bytes);
  FILE* file = fopen(path, "rb");
  if (file == NULL) return NULL;
  enum { MOST = 1 << 24 };
  char* bytes = malloc(MOST);
  *size = bytes != NULL ? fread(bytes, 1, MOST, file) : 0;
  fclose(file);
  return bytes;
}
/* [read] */

/* [network] */
/* Sends a request: called from several threads at once, and answered once. */
static void send_request(void* context, const vellora_request_info* info, vellora_request* request) {
  vellora_response response = {.struct_size = sizeof response, .error = "There is no such answer."};
  char* body = answer_to(context, &info->url, &response.body.size);
  response.body.bytes = body;
  vellora_reply(request, &response);
  free(body);
}
/* [network] */

/* [print] */
/* Tells of each key what it is, or why that is not known. */
static void print(const vellora_answer* answer) {
  vellora_summary summary = {.struct_size = sizeof summary};
  vellora_look look = {.struct_size = sizeof look};
  vellora_missing missing = {.struct_size = sizeof missing};
  vellora_error* error = vellora_answer_summary(answer, &summary);
  for (size_t i = 0; error == NULL && i < summary.found; ++i) {
    error = vellora_answer_look(answer, i, 0, &look);
    if (error == NULL) printf("%.*s\n", (int)look.label.size, look.label.bytes);
  }
  for (size_t i = 0; error == NULL && i < summary.missing; ++i) {
    error = vellora_answer_missing(answer, i, &missing);
    if (error == NULL) printf("%.*s: %.*s\n", (int)missing.key.size, missing.key.bytes, (int)missing.text.size, missing.text.bytes);
  }
  if (error != NULL) fprintf(stderr, "%s\n", error->text.bytes);
  vellora_error_free(error);
}
/* [print] */

int main(int argc, char** argv) {
  if (argc != 3) return fprintf(stderr, "usage: c-own-host FOLDER RECORD-ID\n"), 2;
  /* [host] */
  const vellora_network network = {.struct_size = sizeof network, .context = argv[1], .send = send_request};
  const vellora_options options = {.struct_size = sizeof options, .network = &network, .loads_late = 1};
  const vellora_text id = {argv[2], strlen(argv[2])};
  vellora_catalog* catalog = NULL;
  vellora_question* question = NULL;
  vellora_answer* answer = NULL;
  vellora_error* error = vellora_open(&options, &catalog);
  if (error == NULL) error = vellora_ask(catalog, VELLORA_RECORDS, &id, 1, NULL, NULL, &question);
  if (error == NULL) error = vellora_wait(question, &answer);
  /* [host] */
  if (error != NULL) fprintf(stderr, "%s\n", error->text.bytes);
  if (answer != NULL) print(answer);
  const int exit_code = error != NULL;
  vellora_error_free(error);
  vellora_answer_free(answer);
  vellora_question_free(question);
  vellora_close(catalog);
  return exit_code;
}
