/*
 * Vellora from C: what the object types of a business-records server look like.
 *
 *     vellora_options options = {.struct_size = sizeof options, .server = "https://records.example"};
 *     vellora_catalog* catalog = NULL;
 *     vellora_error* error = vellora_open(&options, &catalog);
 *
 * The header is C99. bindings/c/README.md shows a whole program.
 *
 * Texts are UTF-8. A `const char*` ends with a zero; a `vellora_text` has a length.
 *
 * Structs begin with `struct_size`, which whoever makes one sets to its sizeof. A later version adds members
 * at the end only. A struct that is longer than this library knows is taken as long as the rest of it is
 * zero. A member that is zero stands for its default, so a struct that is zero but for its size asks for
 * nothing in particular.
 *
 * Errors are values. A function that can fail returns NULL, or an error that the caller frees. Whatever it
 * should have written is then unchanged, and it has taken nothing over. No function lets an exception
 * through.
 *
 * Threads: every function may be called from any thread, also from inside a callback, unless it says
 * otherwise. A handle must not be used while or after it is freed. Functions of the host must not let a C++
 * exception through.
 */
#ifndef VELLORA_C_H
#define VELLORA_C_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define VELLORA_C_API __attribute__((visibility("default")))
#else
#define VELLORA_C_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Texts and errors ---- */

/* Bytes with a length. Absent: `bytes` is NULL and `size` 0. Empty: `bytes` is not NULL and `size` 0. */
typedef struct vellora_text {
  const char* bytes;
  size_t size;
} vellora_text;

/* The text of a literal. */
#define VELLORA_TEXT(literal) \
  { literal, sizeof(literal) - 1 }

/* What a function has come to; `code` of an error. */
enum {
  VELLORA_OK = 0,
  VELLORA_BAD_ARGUMENT =
      1, /* NULL where something is needed, bytes without a length, not UTF-8, no such kind */
  VELLORA_BAD_STRUCT = 2, /* a struct_size that no version has, or members that this version does not know */
  VELLORA_NO_HOST = 3,    /* the ready-made network or cache cannot be had; the text says why */
  VELLORA_ALREADY_TAKEN = 4, /* the question has a callback, or was waited for before */
  VELLORA_NO_ENTRY = 5,      /* the answer has nothing at that index, or nothing of that sort */
  VELLORA_OUT_OF_MEMORY = 6,
  VELLORA_UNEXPECTED = 7 /* an error of the library's own */
};

/* What went wrong. The library made it; read it, and free it with `vellora_error_free`. */
typedef struct vellora_error {
  size_t struct_size;
  int32_t code;      /* one of the above, never VELLORA_OK */
  vellora_text text; /* for a person; ends with a zero besides */
  vellora_text key;  /* the key that it is about; absent when it is about none */
} vellora_error;

/* Frees an error; NULL is none. */
VELLORA_C_API void vellora_error_free(vellora_error* error);

/* The version of the library, such as "0.1.0". The text is static. */
VELLORA_C_API const char* vellora_version(void);

/* ---- Handles ---- */

typedef struct vellora_catalog vellora_catalog;   /* freed by vellora_close */
typedef struct vellora_question vellora_question; /* freed by vellora_question_free */
typedef struct vellora_answer vellora_answer;     /* freed by vellora_answer_free */
typedef struct vellora_request vellora_request;   /* consumed by vellora_reply */
typedef struct vellora_sink vellora_sink;         /* valid during the call that it is handed to */

/* ---- What a host gives: any of these in place of the ready-made ones ---- */

/* What a request of the library asks for. The library made it; it is valid during the call. */
typedef struct vellora_request_info {
  size_t struct_size;
  vellora_text url;       /* relative to your server, percent-encoded, such as "/services/data/v50.0/theme" */
  double timeout_seconds; /* how long the answer may take */
} vellora_request_info;

/* How a request has ended. */
typedef struct vellora_response {
  size_t struct_size;
  vellora_text body;          /* of a success; absent: it failed */
  const char* error;          /* of a failure: why, for a person; NULL: that there is no answer */
  int32_t may_retry;          /* of a failure: not 0 when the same request may succeed later */
  double retry_after_seconds; /* of a failure that may: how long the server wants to be left alone */
} vellora_response;

/*
 * Answers a request, once, from any thread, also inside `send`. `response` stays yours; its bytes are copied.
 * NULL is an answer without a body. The request is gone afterwards, whatever is returned.
 *
 * The library goes on working on your thread: it decodes, and writes to the cache.
 *
 * Returns VELLORA_OK, or what was wrong with the response; the request has failed then, for that reason.
 */
VELLORA_C_API int32_t vellora_reply(vellora_request* request, const vellora_response* response);

/* Sends requests to the records server: GETs without headers or body. Resolve the URL against your server,
 * and authenticate. */
typedef struct vellora_network {
  size_t struct_size;
  void* context;
  /* Called once, when nothing calls `send` any more: after vellora_close, possibly a moment later, on any
   * thread. May be NULL. Requests that were sent are still to be replied to. */
  void (*destroy)(void* context);
  /* Sends a request and returns without waiting. Hand `request` to vellora_reply once, also when it fails or
   * your network shuts down. Comes from several threads at once. */
  void (*send)(void* context, const vellora_request_info* info, vellora_request* request);
} vellora_network;

/* Gives the token that the ready-made network sends. */
typedef struct vellora_token_source {
  size_t struct_size;
  void* context;
  void (*destroy)(void* context); /* as that of vellora_network */
  /* Hands the token to vellora_give, or nothing to send none. `refused` is NULL, or the token that the server
   * has just refused: give another one then, if there is one. Comes from several threads at once, and once
   * from vellora_open, so that the log is clean of the token from the beginning. */
  void (*token)(void* context, const vellora_text* refused, vellora_sink* token);
} vellora_token_source;

/* Takes diagnostic lines. */
typedef struct vellora_logger {
  size_t struct_size;
  void* context;
  void (*destroy)(void* context); /* as that of vellora_network */
  /* Writes one line, without a line end; `is_error` is 0 for what is merely told. `line` is valid during the
   * call, and may hold any bytes. Comes from several threads at once. Never call the library from it. */
  void (*log)(void* context, int32_t is_error, const vellora_text* line);
} vellora_logger;

/* A name and its value, both any bytes. Never gets another member. */
typedef struct vellora_pair {
  vellora_text name;
  vellora_text value;
} vellora_pair;

/* A row of a table. */
typedef struct vellora_row {
  size_t struct_size;
  const vellora_pair* meta; /* in the order of the names */
  size_t meta_count;
  vellora_text data_key; /* of a row to write: the row to replace; absent: you give the row its key */
  vellora_text data;
} vellora_row;

/* Which rows are meant. */
typedef struct vellora_row_query {
  size_t struct_size;
  const vellora_pair* meta; /* all of these the row's meta holds; none: every row */
  size_t meta_count;
  vellora_text data_key; /* the row with that key; absent: with any */
  int32_t
      is_oldest_first; /* 0: of rows of equal meta the newest first, in any order else, and no positions */
  int64_t lower;       /* else: by when they were last written, of these rows the positions from `lower` */
  int64_t upper;       /* up to, not including, `upper`, counted from 0 */
  int32_t wants_data;  /* 0: rows may come without their data */
} vellora_row_query;

/*
 * Keeps what the server told, by key and in tables of rows. It should outlive the process: what it holds is
 * what is answered offline. Each signed-in user needs one of their own.
 *
 * All functions come from several threads at once, and must not call the library but for vellora_give and
 * vellora_give_row. What they are handed is valid during the call. Results are 0 for no, anything else for
 * yes.
 */
typedef struct vellora_cache {
  size_t struct_size;
  void* context;
  void (*destroy)(void* context); /* as that of vellora_network */
  /* Hands the blob of that key to vellora_give, exactly as it was saved; nothing when there is none. */
  void (*load)(void* context, const vellora_text* key, vellora_sink* blob);
  int32_t (*save)(void* context, const vellora_text* key, const vellora_text* blob);
  int32_t (*remove)(void* context, const vellora_text* key);
  /* Whether the table has been created. */
  int32_t (*has_table)(void* context, const vellora_text* table);
  /* Creates it, unless it is there. A row that is older than `longest_seconds` is not returned any more. */
  int32_t (*create_table)(void* context, const vellora_text* table, double longest_seconds);
  /* Hands each row that is meant to vellora_give_row. */
  void (*rows)(void* context, const vellora_text* table, const vellora_row_query* query, vellora_sink* rows);
  /* Deletes each row that is meant, whatever its position. */
  int32_t (*purge)(void* context, const vellora_text* table, const vellora_row_query* query);
  /* Stores a row, which is then the newest. Without a data key it may replace an earlier row of equal meta.
   */
  int32_t (*upsert)(void* context, const vellora_text* table, const vellora_row* row);
} vellora_cache;

/* Hands bytes over, inside the call that the sink came with; they are copied. A second time replaces the
 * first; an absent text takes it back. Returns VELLORA_OK or what is wrong. */
VELLORA_C_API int32_t vellora_give(vellora_sink* sink, const vellora_text* bytes);

/* Hands a row over, inside `rows`; it is copied. Returns VELLORA_OK or what is wrong. */
VELLORA_C_API int32_t vellora_give_row(vellora_sink* sink, const vellora_row* row);

/* ---- The catalogue ---- */

/* What a catalogue is made with. Everything is copied. */
typedef struct vellora_options {
  size_t struct_size;

  /* The network: one of your own, or the ready-made one, which these four are for. */
  const vellora_network* network;
  const char* server;                /* its address, such as "https://records.example" */
  const vellora_token_source* token; /* NULL: no token is sent */
  const char* ca_file;               /* a PEM file of authorities to trust; NULL: the system's */
  int32_t allow_token_over_plain_http;

  /* The cache: one of your own, or the ready-made one, in a file or, where that is NULL, in memory. */
  const vellora_cache* cache;
  const char* cache_file;
  const char* cache_owner; /* whose cache the file is; another owner's file is refused. NULL: anybody's */

  const vellora_logger* logger; /* NULL: no lines */

  const char* theme;            /* whose colours and icons are wanted; NULL: "light" */
  double cache_timeout_seconds; /* the age at which what is cached is stale; 0: an hour; below 0: at once */
  int32_t attempts;   /* how often a request is sent at most that may be sent again; 0: four times */
  int32_t loads_late; /* not 0: both lists are loaded with the first question that needs them, not at once */
} vellora_options;

/*
 * Makes a catalogue, and begins to load both lists, unless the options say otherwise. `*catalog` is yours
 * until vellora_close.
 *
 * From a success on the library owns the contexts of the tables in the options, and calls their `destroy`.
 * Where it fails they stay yours.
 */
VELLORA_C_API vellora_error* vellora_open(const vellora_options* options, vellora_catalog** catalog);

/*
 * Frees a catalogue; NULL is none. All that was asked is given up: who waits gets a cancelled answer, and no
 * callback runs any more when this has returned. It waits for one that runs, unless it is called from inside
 * it. Two callbacks of two catalogues that close each other's wait for ever. Questions and answers are freed
 * by themselves.
 */
VELLORA_C_API void vellora_close(vellora_catalog* catalog);

/* ---- Questions ---- */

/* What is asked; `kind`. */
enum {
  VELLORA_RECORDS = 1,        /* keys are ids: what are these records? */
  VELLORA_TYPES = 2,          /* keys are API names: what do these object types look like? */
  VELLORA_ALL_TYPES = 3,      /* no keys: which object types are there? `filter` narrows them */
  VELLORA_SEARCH_COLUMNS = 4, /* keys are API names: which columns do search results show? */
  VELLORA_HEADLINES = 5,      /* keys are API names: which fields head a record? */
  VELLORA_REFRESH = 6,        /* no keys: fetches both lists anew; what has changed? */
  VELLORA_READINESS = 7       /* no keys, of vellora_watch and vellora_state: are both lists there? */
};

/* Where an answer may come from; `source`. */
enum {
  VELLORA_CACHE_FIRST = 0, /* what the cache has, the rest from the server */
  VELLORA_CACHE_ONLY = 1,  /* no request is sent */
  VELLORA_SERVER_FIRST = 2 /* the server, and the cache where that fails */
};

/* How one question is to be answered. */
typedef struct vellora_ask_options {
  size_t struct_size;
  double deadline_seconds; /* when it ends at the latest; 0: ten seconds; below 0: at once */
  int32_t source;
  const char* theme; /* NULL: the catalogue's */
  vellora_text
      filter; /* of VELLORA_ALL_TYPES: words that stand in label, plural or name; absent: all types */
} vellora_ask_options;

/* Who is called with answers. */
typedef struct vellora_listener {
  size_t struct_size;
  void* context;
  /* Called once, when `answered` neither runs nor will: behind it, or on the thread that cancelled, closed or
   * let go. A watch whose handle you keep lets go when you cancel or free that, be it after vellora_close.
   * May be NULL. */
  void (*destroy)(void* context);
  /* `answer` is yours: free it, at any time. It is NULL when there was no memory for it. Comes on a thread of
   * the catalogue's, one call at a time for all of its questions, never inside a call of yours, possibly
   * before the question has been returned. */
  void (*answered)(void* context, vellora_answer* answer);
} vellora_listener;

/*
 * Asks. Keys are copied; each is found, or missing for a reason, also one that is not UTF-8. `options` may be
 * NULL.
 *
 * With a `listener`, it is called with the answer once, unless the question is cancelled first or the
 * catalogue closed. `question` may be NULL then: the question goes on by itself. Without one, `question` is
 * needed, for vellora_wait. From a success on the library owns the listener's context.
 */
VELLORA_C_API vellora_error* vellora_ask(vellora_catalog* catalog, int32_t kind, const vellora_text* keys,
                                         size_t key_count, const vellora_ask_options* options,
                                         const vellora_listener* listener, vellora_question** question);

/* Asks for all types: vellora_ask with VELLORA_ALL_TYPES and no keys. */
VELLORA_C_API vellora_error* vellora_list(vellora_catalog* catalog, const vellora_ask_options* options,
                                          const vellora_listener* listener, vellora_question** question);

/* Fetches both lists anew, whatever their age: vellora_ask with VELLORA_REFRESH and no keys. */
VELLORA_C_API vellora_error* vellora_refresh(vellora_catalog* catalog, const vellora_ask_options* options,
                                             const vellora_listener* listener, vellora_question** question);

/*
 * Asks, and asks again after each refresh; the listener gets the first answer, then each that differs from
 * the one before. VELLORA_READINESS tells of each change of the state, the present one first. VELLORA_REFRESH
 * cannot be watched. It ends with vellora_cancel, vellora_question_free or vellora_close. With `question`
 * NULL it ends with the catalogue.
 */
VELLORA_C_API vellora_error* vellora_watch(vellora_catalog* catalog, int32_t kind, const vellora_text* keys,
                                           size_t key_count, const vellora_ask_options* options,
                                           const vellora_listener* listener, vellora_question** question);

/*
 * Blocks until the question without a listener has its answer, at most to its deadline. `*answer` is yours.
 * Where waiting would block what the answer needs, such as inside a callback, the answer has failed and says
 * so. Wait once.
 */
VELLORA_C_API vellora_error* vellora_wait(vellora_question* question, vellora_answer** answer);

/*
 * Gives a question or a watch up; NULL is none. When it has returned, the listener is not running and will
 * not be called. It waits for a call that runs, unless it is called from inside it. A vellora_wait on another
 * thread returns a cancelled answer.
 */
VELLORA_C_API void vellora_cancel(vellora_question* question);

/* Frees the handle, after vellora_cancel; NULL is none. No thread may be inside vellora_wait with it. */
VELLORA_C_API void vellora_question_free(vellora_question* question);

/* Whether both lists are there, at this moment: an answer of kind VELLORA_READINESS, which is yours. */
VELLORA_C_API vellora_error* vellora_state(vellora_catalog* catalog, vellora_answer** answer);

/* Gives all questions up, as cancelled, and deletes what the library has written into the cache: for a
 * sign-out. When it has returned, nothing is written any more for what was asked before. */
VELLORA_C_API vellora_error* vellora_forget(vellora_catalog* catalog);

/* Lets go of what is only remembered, as when the system is short of memory. Nothing is lost, and questions
 * under way go on; the next one that needs a list decodes it once more. */
VELLORA_C_API vellora_error* vellora_release_memory(vellora_catalog* catalog);

/* ---- Answers: immutable, may be read from several threads at once ---- */

/* Frees an answer; NULL is none. What was read from it goes with it. */
VELLORA_C_API void vellora_answer_free(vellora_answer* answer);

/* The whole answer as JSON, as the command prints it with `-o json`; docs/schemas has its schema. `*document`
 * is valid as long as the answer, and ends with a zero besides. It is written when it is first asked for. */
VELLORA_C_API vellora_error* vellora_answer_document(const vellora_answer* answer, vellora_text* document);

/* How a question has ended; `end`. */
enum {
  VELLORA_ANSWERED = 1,  /* each key was found, or is missing for a reason of its own */
  VELLORA_FAILED = 2,    /* nothing was found and something could not be asked, or all came to grief */
  VELLORA_TIMED_OUT = 3, /* the deadline came first */
  VELLORA_CANCELLED = 4
};

/* Whether both lists are there; `end` of an answer of kind VELLORA_READINESS. */
enum { VELLORA_IS_LOADING = 11, VELLORA_IS_READY = 12, VELLORA_HAS_FAILED = 13 };

/* An answer as a whole. `fetched` values are in seconds since 1970-01-01 00:00:00 UTC; not a number where
 * unknown. */
typedef struct vellora_summary {
  size_t struct_size;
  int32_t kind;
  int32_t end;
  size_t found;   /* how many keys */
  size_t missing; /* how many keys */
  double fetched;
  int32_t is_stale;             /* not 0: that is longer ago than the time-out */
  vellora_text trouble;         /* what kept it from being fuller or fresher; absent when nothing did */
  vellora_text trouble_request; /* the request that this came from; absent when it was none */
} vellora_summary;

/* Fills the summary, whose struct_size the caller has set, as far as that goes. Texts are valid as long as
 * the answer, here and below. */
VELLORA_C_API vellora_error* vellora_answer_summary(const vellora_answer* answer, vellora_summary* summary);

/* What a refresh found; `change`. */
enum { VELLORA_ADDED = 1, VELLORA_REMOVED = 2, VELLORA_CHANGED = 3 };

/* A key that was found. */
typedef struct vellora_found {
  size_t struct_size;
  vellora_text key;
  double fetched;
  int32_t is_stale;
  int32_t change; /* of VELLORA_REFRESH; else 0 */
  size_t columns; /* of VELLORA_SEARCH_COLUMNS: how many vellora_answer_column gives */
  size_t fields;  /* of VELLORA_HEADLINES: how many vellora_answer_field gives */
} vellora_found;

/* Fills what was found at `index`, in the order asked. */
VELLORA_C_API vellora_error* vellora_answer_found(const vellora_answer* answer, size_t index,
                                                  vellora_found* found);

/* How an object type is to be shown. Absent texts are unknown. */
typedef struct vellora_look {
  size_t struct_size;
  vellora_text api_name;
  vellora_text label;
  vellora_text label_plural;
  vellora_text color; /* six hexadecimal digits */
  vellora_text svg_icon_url;
  vellora_text small_icon_url;
  vellora_text large_icon_url;
  int32_t is_createable;
} vellora_look;

/* Fills the look of what was found at `index` by VELLORA_RECORDS, VELLORA_TYPES or VELLORA_ALL_TYPES: of its
 * type, or with `of_instance` not 0 of the type that a list view lists. */
VELLORA_C_API vellora_error* vellora_answer_look(const vellora_answer* answer, size_t index,
                                                 int32_t of_instance, vellora_look* look);

/* A column of search results. */
typedef struct vellora_column {
  size_t struct_size;
  vellora_text name;
  vellora_text label;
  vellora_text field;  /* the path of the field that it shows */
  vellora_text format; /* absent where the server doesn't say */
} vellora_column;

/* Fills the column number `column` of what was found at `index` by VELLORA_SEARCH_COLUMNS. */
VELLORA_C_API vellora_error* vellora_answer_column(const vellora_answer* answer, size_t index, size_t column,
                                                   vellora_column* filled);

/* A field that heads a record. The parts of a compound field stand in the document only. */
typedef struct vellora_field {
  size_t struct_size;
  vellora_text api_name;
  vellora_text label;
  vellora_text field_type;
  vellora_text reference_to;      /* absent but of a reference */
  vellora_text relationship_name; /* absent but of a reference */
  int32_t is_html;
  size_t parts; /* how many a compound field has */
} vellora_field;

/* Fills the field number `field` of what was found at `index` by VELLORA_HEADLINES. */
VELLORA_C_API vellora_error* vellora_answer_field(const vellora_answer* answer, size_t index, size_t field,
                                                  vellora_field* filled);

/* Why a key is missing; `why`. */
enum {
  VELLORA_UNKNOWN = 1,       /* the server doesn't know it */
  VELLORA_NOT_ASKABLE = 2,   /* it could not be asked: the text says which request failed, and why */
  VELLORA_NO_KEY = 3,        /* it was refused before anybody was asked: empty, not UTF-8, … */
  VELLORA_NOT_CACHED = 4,    /* only the cache was to be asked */
  VELLORA_KEY_TIMED_OUT = 5, /* the deadline came before this key was answered */
  VELLORA_KEY_CANCELLED = 6  /* the question was given up before this key was answered */
};

/* A key that is missing. */
typedef struct vellora_missing {
  size_t struct_size;
  vellora_text key; /* as it was asked, whatever its bytes */
  int32_t why;
  vellora_text text;    /* the reason in words for a person */
  vellora_text request; /* the request that failed; absent when it was none */
} vellora_missing;

/* Fills what is missing at `index`, in the order asked. */
VELLORA_C_API vellora_error* vellora_answer_missing(const vellora_answer* answer, size_t index,
                                                    vellora_missing* missing);

#ifdef __cplusplus
}
#endif

#endif
