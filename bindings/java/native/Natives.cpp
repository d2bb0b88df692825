// The functions of vellora/Native.java. Each copies what it is given, and hands it to C.

#include <jni.h>

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bindings/c/vellora.h"
#include "bindings/java/native/CacheTable.h"
#include "bindings/java/native/Jvm.h"
#include "bindings/java/native/Tables.h"

namespace vellora::jvm {

namespace {

template <class T>
T* handleOf(jlong handle) {
  return reinterpret_cast<T*>(handle);  // NOLINT(performance-no-int-to-ptr): Java has no pointers
}

template <class T>
jlong numberOf(T* handle) {
  return reinterpret_cast<jlong>(handle);
}

vellora_text textOf(const std::string& text) {
  return {text.data(), text.size()};
}

const char* textOrNull(const std::optional<std::string>& text) {
  return text ? text->c_str() : nullptr;
}

/// A table that is destroyed unless it is taken over.
template <class Table>
class Given {
 public:
  Given(JNIEnv* env, jobject object, Table (*make)(JNIEnv*, jobject)) {
    if (object != nullptr) table_ = make(env, object);
  }
  ~Given() {
    if (table_) table_->destroy(table_->context);
  }
  Given(const Given&) = delete;
  Given& operator=(const Given&) = delete;

  [[nodiscard]] const Table* table() const { return table_ ? &*table_ : nullptr; }
  void takenOver() { table_.reset(); }

 private:
  std::optional<Table> table_;
};

jstring version(JNIEnv* env, jclass /*natives*/) {
  return env->NewStringUTF(vellora_version());
}

using Texts = std::array<std::optional<std::string>, 5>;

Texts textsOf(JNIEnv* env, jobjectArray given) {
  Texts texts;
  for (std::size_t index = 0; index < texts.size(); ++index) {
    const auto element = env->GetObjectArrayElement(given, static_cast<jsize>(index));
    texts[index] = bytesOf(env, static_cast<jbyteArray>(element));
    env->DeleteLocalRef(element);
  }
  return texts;
}

jlong open(JNIEnv* env, jclass /*natives*/, jobjectArray given, jdouble cacheTimeout, jint attempts,
           jboolean allowsTokenOverPlainHttp, jboolean loadsLate, jobject network, jobject token,
           jobject cache, jobject logger) {
  return atBorder(env, [&]() -> jlong {
    const auto [server, caFile, cacheFile, cacheOwner, theme] = textsOf(env, given);
    Given<vellora_network> ownNetwork(env, network, networkOf);
    Given<vellora_token_source> ownToken(env, token, tokenSourceOf);
    Given<vellora_cache> ownCache(env, cache, cacheOf);
    Given<vellora_logger> ownLogger(env, logger, loggerOf);
    vellora_options options{};
    options.struct_size = sizeof options;
    options.network = ownNetwork.table();
    options.server = textOrNull(server);
    options.token = ownToken.table();
    options.ca_file = textOrNull(caFile);
    options.allow_token_over_plain_http = allowsTokenOverPlainHttp;
    options.cache = ownCache.table();
    options.cache_file = textOrNull(cacheFile);
    options.cache_owner = textOrNull(cacheOwner);
    options.logger = ownLogger.table();
    options.theme = textOrNull(theme);
    options.cache_timeout_seconds = cacheTimeout;
    options.attempts = attempts;
    options.loads_late = loadsLate;
    vellora_catalog* catalog = nullptr;
    if (raise(env, vellora_open(&options, &catalog))) return 0;
    ownNetwork.takenOver();
    ownToken.takenOver();
    ownCache.takenOver();
    ownLogger.takenOver();
    return numberOf(catalog);
  });
}

void close(JNIEnv* /*env*/, jclass /*natives*/, jlong catalog) {
  vellora_close(handleOf<vellora_catalog>(catalog));
}

/// Keys that stand one after the other.
std::vector<vellora_text> keysOf(JNIEnv* env, const std::string& bytes, jintArray lengths) {
  std::vector<jint> sizes(static_cast<std::size_t>(env->GetArrayLength(lengths)));
  env->GetIntArrayRegion(lengths, 0, static_cast<jsize>(sizes.size()), sizes.data());
  std::vector<vellora_text> keys;
  keys.reserve(sizes.size());
  const char* next = bytes.data();
  for (const jint size : sizes) {
    keys.push_back({next, static_cast<std::size_t>(size)});
    next += size;
  }
  return keys;
}

jlong ask(JNIEnv* env, jclass /*natives*/, jlong catalog, jint kind, jbyteArray keyBytes, jintArray lengths,
          jdouble deadline, jint source, jbyteArray themeBytes, jbyteArray filterBytes, jboolean watches,
          jobject listener) {
  return atBorder(env, [&]() -> jlong {
    const std::string bytes = bytesOf(env, keyBytes).value_or("");
    const auto keys = keysOf(env, bytes, lengths);
    const auto theme = bytesOf(env, themeBytes);
    const auto filter = bytesOf(env, filterBytes);
    vellora_ask_options options{};
    options.struct_size = sizeof options;
    options.deadline_seconds = deadline;
    options.source = source;
    options.theme = textOrNull(theme);
    if (filter) options.filter = {filter->data(), filter->size()};
    Given<vellora_listener> calls(env, listener, listenerOf);
    vellora_question* question = nullptr;
    const auto begin = watches == JNI_TRUE ? vellora_watch : vellora_ask;
    if (raise(env, begin(handleOf<vellora_catalog>(catalog), kind, keys.data(), keys.size(), &options,
                         calls.table(), &question)))
      return 0;
    calls.takenOver();
    return numberOf(question);
  });
}

void freeQuestion(JNIEnv* /*env*/, jclass /*natives*/, jlong question) {
  vellora_question_free(handleOf<vellora_question>(question));
}

jbyteArray state(JNIEnv* env, jclass /*natives*/, jlong catalog) {
  vellora_answer* answer = nullptr;
  if (raise(env, vellora_state(handleOf<vellora_catalog>(catalog), &answer))) return nullptr;
  vellora_text document{};
  const bool isRefused = raise(env, vellora_answer_document(answer, &document));
  const jbyteArray bytes = isRefused ? nullptr : arrayOf(env, viewOf(document));
  vellora_answer_free(answer);
  return bytes;
}

void forget(JNIEnv* env, jclass /*natives*/, jlong catalog) {
  raise(env, vellora_forget(handleOf<vellora_catalog>(catalog)));
}

void releaseMemory(JNIEnv* env, jclass /*natives*/, jlong catalog) {
  raise(env, vellora_release_memory(handleOf<vellora_catalog>(catalog)));
}

void reply(JNIEnv* env, jclass /*natives*/, jlong request, jbyteArray bodyBytes, jbyteArray errorBytes,
           jboolean mayRetry, jdouble retryAfter) {
  vellora_response response{};
  response.struct_size = sizeof response;
  std::optional<std::string> body;
  std::optional<std::string> error;
  try {
    body = bytesOf(env, bodyBytes);
    error = bytesOf(env, errorBytes);
    if (body) response.body = {body->data(), body->size()};
    response.error = textOrNull(error);
    response.may_retry = mayRetry;
    response.retry_after_seconds = retryAfter;
  } catch (const std::bad_alloc&) {
    response.error = "There is no memory for the body.";
  }
  vellora_reply(handleOf<vellora_request>(request), &response);  // what is wrong with it fails the request
}

/// Names and values in turn.
std::vector<std::string> bytesOfEach(JNIEnv* env, jobjectArray given) {
  std::vector<std::string> all;
  for (jsize index = 0; index < env->GetArrayLength(given); ++index) {
    const auto element = env->GetObjectArrayElement(given, index);
    all.push_back(bytesOf(env, static_cast<jbyteArray>(element)).value_or(""));
    env->DeleteLocalRef(element);
  }
  return all;
}

void giveRow(JNIEnv* env, jclass /*natives*/, jlong sink, jobjectArray metaBytes, jbyteArray keyBytes,
             jbyteArray dataBytes) {
  atBorder(env, [&] {
    const auto meta = bytesOfEach(env, metaBytes);
    const auto key = bytesOf(env, keyBytes).value_or("");
    const auto data = bytesOf(env, dataBytes).value_or("");
    std::vector<vellora_pair> pairs;
    for (std::size_t name = 0; name + 1 < meta.size(); name += 2)
      pairs.push_back({textOf(meta[name]), textOf(meta[name + 1])});
    const vellora_row row{sizeof row, pairs.data(), pairs.size(), textOf(key), textOf(data)};
    vellora_give_row(handleOf<vellora_sink>(sink), &row);
  });
}

template <class Function>
JNINativeMethod method(const char* name, const char* signature, Function function) {
  return {const_cast<char*>(name), const_cast<char*>(signature), reinterpret_cast<void*>(function)};
}

bool registerNatives(JNIEnv* env) {
  const std::array methods{
      method("version", "()Ljava/lang/String;", version),
      method("open", "([[BDIZZLvellora/Network;Lvellora/TokenSource;Lvellora/Cache;Lvellora/Logger;)J", open),
      method("close", "(J)V", close),
      method("ask", "(JI[B[IDI[B[BZLvellora/Listener;)J", ask),
      method("free", "(J)V", freeQuestion),
      method("state", "(J)[B", state),
      method("forget", "(J)V", forget),
      method("releaseMemory", "(J)V", releaseMemory),
      method("reply", "(J[B[BZD)V", reply),
      method("giveRow", "(J[[B[B[B)V", giveRow),
  };
  return env->RegisterNatives(upcalls().natives, methods.data(), static_cast<jint>(methods.size())) == JNI_OK;
}

}  // namespace

}  // namespace vellora::jvm

extern "C" JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* machine, void* /*reserved*/) {
  void* env = nullptr;
  if (machine->GetEnv(&env, JNI_VERSION_1_6) != JNI_OK) return JNI_ERR;
  auto* const known = static_cast<JNIEnv*>(env);
  return vellora::jvm::load(machine, known) && vellora::jvm::registerNatives(known) ? JNI_VERSION_1_6
                                                                                    : JNI_ERR;
}

extern "C" JNIEXPORT void JNICALL JNI_OnUnload(JavaVM* machine, void* /*reserved*/) {
  void* env = nullptr;
  if (machine->GetEnv(&env, JNI_VERSION_1_6) == JNI_OK) vellora::jvm::unload(static_cast<JNIEnv*>(env));
}
