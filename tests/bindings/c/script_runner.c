/* Runs ../script.txt, which says what its words mean, through vellora.h. usage: script_runner SCRIPT EXPECTATIONS */

#define _POSIX_C_SOURCE 200809L

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vellora.h"

enum { MOST_REPLIES = 32, MOST_KEYS = 32, MOST_SENT = 64, LONGEST_LINE = 16384, NO_DEADLINE = 600 };

static void die(const char* what) {
  fprintf(stderr, "script_runner: %s\n", what);
  exit(2);
}

static char* copy_of(const char* text, size_t size) {
  char* copy = malloc(size + 1);
  if (copy == NULL) die("no memory");
  memcpy(copy, text, size);
  copy[size] = '\0';
  return copy;
}

static void fine(vellora_error* error) {
  if (error == NULL) return;
  fprintf(stderr, "script_runner: %s\n", error->text.bytes);
  exit(2);
}

/* ---- The network of a case ---- */

typedef struct reply {
  char* url;
  char* text;
  char word; /* 's' for server, 'r' for refuses, 'b' for busy, 'l' for silent */
  int is_over;
} reply;

typedef struct network {
  pthread_mutex_t mutex; /* guards what follows */
  pthread_cond_t changed;
  reply replies[MOST_REPLIES];
  size_t reply_count;
  vellora_request* silent[MOST_SENT];
  size_t silent_count;
  char* sent[MOST_SENT];
  size_t sent_count;
  int is_shut_down; /* a request that comes later is answered, too */
  int is_destroyed;
} network;

static void reply_with(vellora_request* request, char word, const char* text) {
  vellora_response response = {.struct_size = sizeof response};
  if (word == 's') {
    response.body.bytes = text;
    response.body.size = strlen(text);
  } else {
    response.error = text;
    response.may_retry = word == 'b';
  }
  if (vellora_reply(request, &response) != VELLORA_OK) die("a reply was refused");
}

/* The last that was said of that URL, but "busy" before all else, once; NULL for none. */
static reply* network_reply(network* self, const char* url) {
  reply* last = NULL;
  for (size_t i = 0; i < self->reply_count; ++i) {
    reply* each = &self->replies[i];
    if (each->is_over || strcmp(each->url, url) != 0) continue;
    last = each;
    if (each->word == 'b') break;
  }
  if (last != NULL && last->word == 'b') last->is_over = 1;
  return last;
}

static void network_send(void* context, const vellora_request_info* info, vellora_request* request) {
  network* self = context;
  pthread_mutex_lock(&self->mutex);
  char* url = copy_of(info->url.bytes, info->url.size);
  if (self->sent_count == MOST_SENT) die("too many requests");
  self->sent[self->sent_count++] = url;
  const reply* said = network_reply(self, url);
  const int is_known = said != NULL && !self->is_shut_down;
  const char word = is_known ? said->word : 'r';
  const char* words = is_known ? said->text : "not there";
  char* text = copy_of(words, strlen(words));
  if (word == 'l') {
    self->silent[self->silent_count++] = request;
    pthread_cond_broadcast(&self->changed);
  }
  pthread_mutex_unlock(&self->mutex);
  if (word != 'l') reply_with(request, word, text);
  free(text);
}

static void network_destroy(void* context) {
  network* self = context;
  pthread_mutex_lock(&self->mutex);
  self->is_destroyed = 1;
  pthread_cond_broadcast(&self->changed);
  pthread_mutex_unlock(&self->mutex);
}

static void network_set(network* self, char word, const char* rest) {
  const char* blank = strchr(rest, ' ');
  const size_t length = blank != NULL ? (size_t)(blank - rest) : strlen(rest);
  const char* text = blank != NULL ? blank + 1 : "";
  pthread_mutex_lock(&self->mutex);
  if (self->reply_count == MOST_REPLIES) die("too many replies");
  reply* last = &self->replies[self->reply_count++]; /* the last one of a URL counts */
  last->url = copy_of(rest, length);
  last->text = copy_of(text, strlen(text));
  last->word = word;
  last->is_over = 0;
  pthread_mutex_unlock(&self->mutex);
}

static void network_await_silence(network* self) {
  pthread_mutex_lock(&self->mutex);
  while (self->silent_count == 0) pthread_cond_wait(&self->changed, &self->mutex);
  pthread_mutex_unlock(&self->mutex);
}

static void network_end_silence(network* self) {
  vellora_request* silent[MOST_SENT];
  pthread_mutex_lock(&self->mutex);
  const size_t count = self->silent_count;
  memcpy(silent, self->silent, sizeof silent);
  self->silent_count = 0;
  pthread_mutex_unlock(&self->mutex);
  for (size_t i = 0; i < count; ++i) reply_with(silent[i], 'r', "too late");
}

static void network_shut_down(network* self) {
  pthread_mutex_lock(&self->mutex);
  self->is_shut_down = 1;
  pthread_mutex_unlock(&self->mutex);
  network_end_silence(self);
}

static int by_text(const void* left, const void* right) {
  return strcmp(*(char* const*)left, *(char* const*)right);
}

static char* network_sent(network* self) {
  char text[LONGEST_LINE] = "";
  pthread_mutex_lock(&self->mutex);
  qsort(self->sent, self->sent_count, sizeof self->sent[0], by_text);
  for (size_t i = 0; i < self->sent_count; ++i) {
    if (i > 0) strcat(text, " ");
    strcat(text, self->sent[i]);
    free(self->sent[i]);
  }
  self->sent_count = 0;
  pthread_mutex_unlock(&self->mutex);
  return copy_of(text, strlen(text));
}

/* ---- A listener that keeps the documents of its answers ---- */

typedef struct listener {
  pthread_mutex_t mutex; /* guards what follows */
  pthread_cond_t changed;
  char* documents[MOST_SENT];
  size_t count;
  int is_destroyed;
} listener;

static char* document_of(vellora_answer* answer) {
  vellora_text document;
  fine(vellora_answer_document(answer, &document));
  char* copy = copy_of(document.bytes, document.size);
  vellora_answer_free(answer);
  return copy;
}

static void listener_answered(void* context, vellora_answer* answer) {
  listener* self = context;
  char* document = document_of(answer);
  pthread_mutex_lock(&self->mutex);
  self->documents[self->count++] = document;
  pthread_cond_broadcast(&self->changed);
  pthread_mutex_unlock(&self->mutex);
}

static void listener_destroy(void* context) {
  listener* self = context;
  pthread_mutex_lock(&self->mutex);
  self->is_destroyed = 1;
  pthread_cond_broadcast(&self->changed);
  pthread_mutex_unlock(&self->mutex);
}

static listener* new_listener(void) {
  listener* made = calloc(1, sizeof *made);
  if (made == NULL) die("no memory");
  pthread_mutex_init(&made->mutex, NULL);
  pthread_cond_init(&made->changed, NULL);
  return made;
}

static vellora_listener table_of(listener* self) {
  const vellora_listener table = {sizeof table, self, listener_destroy, listener_answered};
  return table;
}

static char* listener_await(listener* self, size_t number) {
  pthread_mutex_lock(&self->mutex);
  while (self->count <= number) pthread_cond_wait(&self->changed, &self->mutex);
  char* copy = copy_of(self->documents[number], strlen(self->documents[number]));
  pthread_mutex_unlock(&self->mutex);
  return copy;
}

/* Waits for the end of the listener, which comes once, and frees it. */
static void listener_free(listener* self) {
  if (self == NULL) return;
  pthread_mutex_lock(&self->mutex);
  while (!self->is_destroyed) pthread_cond_wait(&self->changed, &self->mutex);
  pthread_mutex_unlock(&self->mutex);
  for (size_t i = 0; i < self->count; ++i) free(self->documents[i]);
  pthread_mutex_destroy(&self->mutex);
  pthread_cond_destroy(&self->changed);
  free(self);
}

/* ---- What a question of the script says ---- */

typedef struct asked {
  char* line; /* holds the texts */
  int32_t kind;
  vellora_text keys[MOST_KEYS];
  size_t key_count;
  vellora_ask_options options;
} asked;

static int32_t kind_of(const char* name) {
  static const char* const names[] = {"records",   "types",   "allTypes", "searchColumns",
                                      "headlines", "refresh", "readiness"};
  for (int32_t i = 0; i < 7; ++i) {
    if (strcmp(names[i], name) == 0) return VELLORA_RECORDS + i;
  }
  die("a kind that there isn't");
  return 0;
}

static void take_option(asked* self, const char* option) {
  const char* value = strchr(option, '=') + 1;
  if (strncmp(option, "@deadline=", 10) == 0) {
    const double seconds = strtod(value, NULL);
    self->options.deadline_seconds = seconds > 0 ? seconds : -1; /* 0 would be the default */
  }
  if (strcmp(option, "@source=cacheOnly") == 0) self->options.source = VELLORA_CACHE_ONLY;
  if (strcmp(option, "@source=serverFirst") == 0) self->options.source = VELLORA_SERVER_FIRST;
  if (strncmp(option, "@theme=", 7) == 0) self->options.theme = value;
  if (strncmp(option, "@filter=", 8) == 0) {
    self->options.filter.bytes = value;
    self->options.filter.size = strlen(value);
  }
}

/* Decodes a key in place. */
static vellora_text key_of(char* word) {
  vellora_text key = {word, 0};
  if (strcmp(word, "(empty)") == 0) return key;
  char* to = word;
  for (const char* from = word; *from != '\0'; ++from) {
    if (*from == '%') {
      const char digits[] = {from[1], from[2], '\0'};
      *to++ = (char)strtol(digits, NULL, 16);
      from += 2;
    } else {
      *to++ = *from;
    }
  }
  key.size = (size_t)(to - word);
  return key;
}

static asked asked_of(const char* rest) {
  asked made = {.line = copy_of(rest, strlen(rest)),
                .options = {.struct_size = sizeof made.options, .deadline_seconds = NO_DEADLINE}};
  char* place = NULL;
  made.kind = kind_of(strtok_r(made.line, " ", &place));
  for (char* word = strtok_r(NULL, " ", &place); word != NULL; word = strtok_r(NULL, " ", &place)) {
    if (word[0] == '@') {
      take_option(&made, word);
    } else {
      made.keys[made.key_count++] = key_of(word);
    }
  }
  return made;
}

/* ---- A case ---- */

typedef struct script_case {
  network net;
  vellora_catalog* catalog;
  vellora_question* watch;
  listener* watching;
  size_t watched;
  char* kept;
} script_case;

static script_case* open_case(void) {
  script_case* made = calloc(1, sizeof *made);
  if (made == NULL) die("no memory");
  pthread_mutex_init(&made->net.mutex, NULL);
  pthread_cond_init(&made->net.changed, NULL);
  const vellora_network net = {sizeof net, &made->net, network_destroy, network_send};
  const vellora_options options = {
      .struct_size = sizeof options, .network = &net, .attempts = 2, .loads_late = 1};
  fine(vellora_open(&options, &made->catalog));
  return made;
}

static void close_case(script_case* self) {
  if (self == NULL) return;
  vellora_question_free(self->watch);
  vellora_close(self->catalog);
  network_shut_down(&self->net);
  listener_free(self->watching);
  network* net = &self->net;
  pthread_mutex_lock(&net->mutex);
  while (!net->is_destroyed) pthread_cond_wait(&net->changed, &net->mutex);
  pthread_mutex_unlock(&net->mutex);
  for (size_t i = 0; i < net->reply_count; ++i) {
    free(net->replies[i].url);
    free(net->replies[i].text);
  }
  for (size_t i = 0; i < net->sent_count; ++i) free(net->sent[i]);
  pthread_mutex_destroy(&net->mutex);
  pthread_cond_destroy(&net->changed);
  free(self->kept);
  free(self);
}

static void keep(script_case* self, char* text) {
  free(self->kept);
  self->kept = text;
}

static void ask_and_wait(script_case* self, const asked* what) {
  vellora_question* question = NULL;
  vellora_answer* answer = NULL;
  fine(vellora_ask(self->catalog, what->kind, what->keys, what->key_count, &what->options, NULL, &question));
  fine(vellora_wait(question, &answer));
  vellora_question_free(question);
  keep(self, document_of(answer));
}

static void ask_with_listener(script_case* self, const char* word, const asked* what) {
  listener* called = new_listener();
  const vellora_listener table = table_of(called);
  vellora_question* question = NULL;
  fine(vellora_ask(self->catalog, what->kind, what->keys, what->key_count, &what->options, &table, &question));
  if (strcmp(word, "listen") == 0) {
    keep(self, listener_await(called, 0));
  } else {
    network_await_silence(&self->net);
    if (strcmp(word, "cancel") == 0) vellora_cancel(question);
    if (strcmp(word, "close") == 0) {
      vellora_close(self->catalog);
      self->catalog = NULL;
    }
    network_end_silence(&self->net);
    keep(self, called->count > 0 ? listener_await(called, 0) : copy_of("nothing", 7));
  }
  vellora_question_free(question);
  listener_free(called);
}

static void begin_watch(script_case* self, const asked* what) {
  self->watching = new_listener();
  const vellora_listener table = table_of(self->watching);
  fine(vellora_watch(self->catalog, what->kind, what->keys, what->key_count, &what->options, &table,
                     &self->watch));
  keep(self, listener_await(self->watching, 0));
}

static void keep_state(script_case* self) {
  vellora_answer* answer = NULL;
  fine(vellora_state(self->catalog, &answer));
  keep(self, document_of(answer));
}

static void run_question(script_case* self, const char* word, const char* rest) {
  const asked what = asked_of(rest);
  if (strcmp(word, "ask") == 0) {
    ask_and_wait(self, &what);
  } else if (strcmp(word, "watch") == 0) {
    begin_watch(self, &what);
  } else {
    ask_with_listener(self, word, &what);
  }
  free(what.line);
}

static void run_line(script_case* self, const char* word, const char* rest) {
  if (strcmp(word, "server") == 0) {
    network_set(&self->net, 's', rest);
  } else if (strcmp(word, "refuses") == 0) {
    network_set(&self->net, 'r', rest);
  } else if (strcmp(word, "busy") == 0) {
    network_set(&self->net, 'b', rest);
  } else if (strcmp(word, "silent") == 0) {
    network_set(&self->net, 'l', rest);
  } else if (strcmp(word, "sent") == 0) {
    keep(self, network_sent(&self->net));
  } else if (strcmp(word, "forget") == 0) {
    fine(vellora_forget(self->catalog));
  } else if (strcmp(word, "release") == 0) {
    fine(vellora_release_memory(self->catalog));
  } else if (strcmp(word, "state") == 0) {
    keep_state(self);
  } else if (strcmp(word, "again") == 0) {
    keep(self, listener_await(self->watching, ++self->watched));
  } else {
    run_question(self, word, rest);
  }
}

/* Puts "T" in the place of each moment. */
static char* without_moments(const char* document) {
  static const char before[] = "\"fetched\":\"";
  char* text = copy_of(document, strlen(document)); /* a moment is longer than what takes its place */
  text[0] = '\0';
  for (;;) {
    const char* found = strstr(document, before);
    if (found == NULL) break;
    found += sizeof before - 1;
    strncat(text, document, (size_t)(found - document));
    strcat(text, "T");
    document = strchr(found, '"');
  }
  strcat(text, document);
  return text;
}

static int differs(const script_case* self, const char* expected, int line) {
  char* found = without_moments(self->kept);
  const int is_different = strcmp(found, expected) != 0;
  if (is_different) fprintf(stderr, "line %d\n  expected %s\n  got      %s\n", line, expected, found);
  free(found);
  return is_different;
}

int main(int argc, char** argv) {
  FILE* script = argc == 3 ? fopen(argv[1], "r") : NULL;
  if (script == NULL) die("usage: script_runner SCRIPT EXPECTATIONS");
  static char line[LONGEST_LINE];
  script_case* current = NULL;
  int number = 0, expectations = 0, differences = 0;
  while (fgets(line, sizeof line, script) != NULL) {
    ++number;
    line[strcspn(line, "\n")] = '\0';
    if (line[0] == '\0' || line[0] == '#' || strncmp(line, "without", 7) == 0) continue;
    char* blank = strchr(line, ' ');
    const char* rest = blank != NULL ? blank + 1 : "";
    if (blank != NULL) *blank = '\0';
    if (strcmp(line, "case") == 0) {
      close_case(current);
      current = open_case();
    } else if (strcmp(line, "expect") == 0) {
      ++expectations;
      differences += differs(current, rest, number);
    } else {
      run_line(current, line, rest);
    }
  }
  close_case(current);
  fclose(script);
  printf("%d expectations, %d differences\n", expectations, differences);
  return differences == 0 && expectations == atoi(argv[2]) ? 0 : 1;
}
