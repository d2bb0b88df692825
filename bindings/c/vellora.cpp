// The functions of vellora.h. Each checks what it is given, and hands it to what knows.

#include "bindings/c/vellora.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "bindings/c/AnswerHandle.h"
#include "bindings/c/Border.h"
#include "bindings/c/ForeignNetwork.h"
#include "bindings/c/Kinds.h"
#include "bindings/c/OpenedHost.h"
#include "bindings/c/QuestionHandle.h"
#include "bindings/c/Sink.h"
#include "bindings/c/Structs.h"
#include "bindings/c/Texts.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Catalog/CatalogOptions.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Host/PlatformAPI.h"

namespace capi = vellora::capi;

using capi::atBorder;
using capi::fill;
using capi::needed;

struct vellora_catalog {
  vellora_catalog(const std::shared_ptr<CorvaneSDK::PlatformAPI>& host, vellora::CatalogOptions options)
      : catalog(host, std::move(options)) {}

  const vellora::Catalog catalog;
};

namespace {

vellora::Source sourceOf(std::int32_t source) {
  switch (source) {
    case VELLORA_CACHE_FIRST:
      return vellora::Source::cacheFirst;
    case VELLORA_CACHE_ONLY:
      return vellora::Source::cacheOnly;
    case VELLORA_SERVER_FIRST:
      return vellora::Source::serverFirst;
    default:
      throw capi::Refusal(VELLORA_BAD_ARGUMENT, "There is no source " + std::to_string(source) + ".");
  }
}

capi::Request requestOf(const vellora_text* keys, std::size_t count, const vellora_ask_options* given) {
  const auto options = capi::copiedOrNone(given, "The options of the question");
  capi::Request request;
  request.keys = capi::keysOf(keys, count);
  request.deadline = std::chrono::duration<double>(
      capi::secondsOr(options.deadline_seconds, request.deadline.count(), "The deadline"));
  request.source = sourceOf(options.source);
  request.theme = capi::textOr(options.theme, "", "The theme");
  request.filter = capi::utf8Of(options.filter, "The filter");
  return request;
}

std::shared_ptr<capi::Listener> listenerOf(const vellora_listener* given) {
  if (given == nullptr) return nullptr;
  const auto listener = capi::copied(*given, "The listener");
  if (listener.answered == nullptr)
    throw capi::Refusal(VELLORA_BAD_ARGUMENT, "The listener lacks its function.");
  return std::make_shared<capi::Listener>(listener);
}

const vellora_answer& answerOf(const vellora_answer* answer) {
  return needed(answer, "The answer");
}

}  // namespace

void vellora_error_free(vellora_error* error) {
  capi::freeError(error);
}

const char* vellora_version(void) {
  return VELLORA_VERSION;
}

int32_t vellora_reply(vellora_request* request, const vellora_response* response) {
  return capi::codeAtBorder([&] { capi::reply(request, response); });
}

int32_t vellora_give(vellora_sink* sink, const vellora_text* bytes) {
  return capi::codeAtBorder([&] { capi::give(sink, bytes); });
}

int32_t vellora_give_row(vellora_sink* sink, const vellora_row* row) {
  return capi::codeAtBorder([&] { capi::giveRow(sink, row); });
}

vellora_error* vellora_open(const vellora_options* options, vellora_catalog** catalog) {
  return atBorder([&] {
    auto& out = needed(catalog, "The handle of the catalogue");
    const auto given = capi::copied(needed(options, "The options"), "The options");
    capi::OpenedHost host(given);
    auto opened = std::make_unique<vellora_catalog>(host.api(), capi::catalogOptions(given));
    host.keep();
    out = opened.release();
  });
}

void vellora_close(vellora_catalog* catalog) {
  delete catalog;
}

vellora_error* vellora_ask(vellora_catalog* catalog, int32_t kind, const vellora_text* keys, size_t key_count,
                           const vellora_ask_options* options, const vellora_listener* listener,
                           vellora_question** question) {
  return atBorder([&] {
    capi::ask(needed(catalog, "The catalogue").catalog, kind, requestOf(keys, key_count, options),
              listenerOf(listener), question);
  });
}

vellora_error* vellora_list(vellora_catalog* catalog, const vellora_ask_options* options,
                            const vellora_listener* listener, vellora_question** question) {
  return vellora_ask(catalog, VELLORA_ALL_TYPES, nullptr, 0, options, listener, question);
}

vellora_error* vellora_refresh(vellora_catalog* catalog, const vellora_ask_options* options,
                               const vellora_listener* listener, vellora_question** question) {
  return vellora_ask(catalog, VELLORA_REFRESH, nullptr, 0, options, listener, question);
}

vellora_error* vellora_watch(vellora_catalog* catalog, int32_t kind, const vellora_text* keys,
                             size_t key_count, const vellora_ask_options* options,
                             const vellora_listener* listener, vellora_question** question) {
  return atBorder([&] {
    static_cast<void>(needed(listener, "The listener"));
    capi::watch(needed(catalog, "The catalogue").catalog, kind, requestOf(keys, key_count, options),
                listenerOf(listener), question);
  });
}

vellora_error* vellora_wait(vellora_question* question, vellora_answer** answer) {
  return atBorder([&] {
    auto& out = needed(answer, "The handle of the answer");
    const auto open = needed(question, "The question").open;
    out = open->wait().release();
  });
}

void vellora_cancel(vellora_question* question) {
  if (question == nullptr) return;
  const auto open = question->open;
  open->cancel();
}

void vellora_question_free(vellora_question* question) {
  vellora_cancel(question);
  delete question;
}

vellora_error* vellora_state(vellora_catalog* catalog, vellora_answer** answer) {
  return atBorder([&] {
    auto& out = needed(answer, "The handle of the answer");
    out = capi::handleOf(needed(catalog, "The catalogue").catalog.readiness()).release();
  });
}

vellora_error* vellora_forget(vellora_catalog* catalog) {
  return atBorder([&] { needed(catalog, "The catalogue").catalog.forget(); });
}

vellora_error* vellora_release_memory(vellora_catalog* catalog) {
  return atBorder([&] { needed(catalog, "The catalogue").catalog.releaseMemory(); });
}

void vellora_answer_free(vellora_answer* answer) {
  delete answer;
}

vellora_error* vellora_answer_document(const vellora_answer* answer, vellora_text* document) {
  return atBorder([&] {
    auto& out = needed(document, "The document");
    out = answerOf(answer).document();
  });
}

vellora_error* vellora_answer_summary(const vellora_answer* answer, vellora_summary* summary) {
  return atBorder([&] { fill(summary, answerOf(answer).summary(), "The summary"); });
}

vellora_error* vellora_answer_found(const vellora_answer* answer, size_t index, vellora_found* found) {
  return atBorder([&] { fill(found, answerOf(answer).found(index), "What was found"); });
}

vellora_error* vellora_answer_look(const vellora_answer* answer, size_t index, int32_t of_instance,
                                   vellora_look* look) {
  return atBorder([&] { fill(look, answerOf(answer).look(index, of_instance != 0), "The look"); });
}

vellora_error* vellora_answer_column(const vellora_answer* answer, size_t index, size_t column,
                                     vellora_column* filled) {
  return atBorder([&] { fill(filled, answerOf(answer).column(index, column), "The column"); });
}

vellora_error* vellora_answer_field(const vellora_answer* answer, size_t index, size_t field,
                                    vellora_field* filled) {
  return atBorder([&] { fill(filled, answerOf(answer).field(index, field), "The field"); });
}

vellora_error* vellora_answer_missing(const vellora_answer* answer, size_t index, vellora_missing* missing) {
  return atBorder([&] { fill(missing, answerOf(answer).missing(index), "What is missing"); });
}
