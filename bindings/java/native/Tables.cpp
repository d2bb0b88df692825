#include "bindings/java/native/Tables.h"

#include <memory>
#include <string_view>

#include "bindings/java/native/Jvm.h"

namespace vellora::jvm {

namespace {

struct FreeAnswer {
  void operator()(vellora_answer* answer) const { vellora_answer_free(answer); }
};

/// The document of an answer, or null and the text of what kept it.
struct Document {
  Document(JNIEnv* env, const vellora_answer* answer) {
    vellora_text text{};
    vellora_error* const refused = vellora_answer_document(answer, &text);
    document = refused == nullptr ? arrayOf(env, viewOf(text)) : nullptr;
    clearException(env);
    const bool isLacking = answer == nullptr || (refused == nullptr && document == nullptr);
    if (document == nullptr)
      error = arrayOf(env, isLacking ? "There was no memory for the answer." : viewOf(refused->text));
    clearException(env);
    vellora_error_free(refused);
  }

  jbyteArray document = nullptr;
  jbyteArray error = nullptr;
};

void answered(void* context, vellora_answer* answer) {
  const std::unique_ptr<vellora_answer, FreeAnswer> owned(answer);
  const AttachedThread thread;
  if (!thread) return;
  JNIEnv* const env = thread.env();
  const Document what(env, answer);
  env->CallStaticVoidMethod(upcalls().upcalls, upcalls().answered, objectOf(context), what.document,
                            what.error);
  clearException(env);
}

void refuse(vellora_request* request) {
  vellora_response response{};
  response.struct_size = sizeof response;
  response.error = "The virtual machine cannot be asked.";
  vellora_reply(request, &response);
}

void send(void* context, const vellora_request_info* info, vellora_request* request) {
  const AttachedThread thread;
  if (!thread) return refuse(request);
  JNIEnv* const env = thread.env();
  const jbyteArray url = arrayOf(env, viewOf(info->url));
  if (clearException(env) || url == nullptr) return refuse(request);
  env->CallStaticVoidMethod(upcalls().upcalls, upcalls().send, objectOf(context), url, info->timeout_seconds,
                            reinterpret_cast<jlong>(request));
  clearException(env);
}

void token(void* context, const vellora_text* refused, vellora_sink* sink) {
  const AttachedThread thread;
  if (!thread) return;
  JNIEnv* const env = thread.env();
  const jbyteArray before = refused != nullptr ? arrayOf(env, viewOf(*refused)) : nullptr;
  if (clearException(env)) return;
  const auto given = static_cast<jbyteArray>(
      env->CallStaticObjectMethod(upcalls().upcalls, upcalls().token, objectOf(context), before));
  if (!clearException(env)) give(env, given, sink);
}

void log(void* context, std::int32_t isError, const vellora_text* line) {
  const AttachedThread thread;
  if (!thread) return;
  JNIEnv* const env = thread.env();
  const jbyteArray bytes = arrayOf(env, viewOf(*line));
  if (clearException(env) || bytes == nullptr) return;
  env->CallStaticVoidMethod(upcalls().upcalls, upcalls().log, objectOf(context),
                            static_cast<jboolean>(isError != 0), bytes);
  clearException(env);
}

}  // namespace

void give(JNIEnv* env, jbyteArray bytes, vellora_sink* sink) {
  try {
    const auto copy = bytesOf(env, bytes);
    if (!copy) return;
    const vellora_text text{copy->data(), copy->size()};
    vellora_give(sink, &text);
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): nothing is given
  }
}

void destroyContext(void* context) {
  const std::unique_ptr<GlobalReference> dropped(static_cast<GlobalReference*>(context));
}

vellora_network networkOf(JNIEnv* env, jobject network) {
  auto table = tableOf<vellora_network>(env, network);
  table.send = send;
  return table;
}

vellora_token_source tokenSourceOf(JNIEnv* env, jobject source) {
  auto table = tableOf<vellora_token_source>(env, source);
  table.token = token;
  return table;
}

vellora_logger loggerOf(JNIEnv* env, jobject logger) {
  auto table = tableOf<vellora_logger>(env, logger);
  table.log = log;
  return table;
}

vellora_listener listenerOf(JNIEnv* env, jobject listener) {
  auto table = tableOf<vellora_listener>(env, listener);
  table.answered = answered;
  return table;
}

}  // namespace vellora::jvm
