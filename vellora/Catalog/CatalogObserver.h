#pragma once

#include <cstddef>

#include "vellora/Catalog/QuestionReport.h"
#include "vellora/Catalog/RequestReport.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Is told what a catalogue is asked, what it sends for that, and how either ends: for a host's telemetry.
/// Override what you need, and hand it in as `CatalogOptions::observer`.
///
///     class Metrics final : public CatalogObserver {
///       void questionEnded(const QuestionReport& report) override { count(nameOf(report.question.kind)); }
///     };
///
/// No key, label, token or error text is in a report, unless `CatalogOptions::observesKeys` asks for it.
///
/// Ownership: the catalogue shares it.
///
/// Threads: called one report at a time, in their order, on a serial queue of its own, behind what it tells
/// of. It may call the catalogue, but for `get`, and may destroy it. Once the catalogue's destructor has
/// returned, no call runs or will; it waits for one that runs, unless it is called from inside it. One that
/// is slow takes one of the library's threads for callbacks, and delays no end and no `get`: up to 10,000
/// reports wait for it, and what is too much is dropped and counted.
///
/// Errors: what a call throws is dropped.
class VELLORA_EXPORT CatalogObserver {
 public:
  virtual ~CatalogObserver() = default;

  /// A question has ended; each does, once.
  virtual void questionEnded(const QuestionReport& /*report*/) {}

  /// A request goes out to the host's network.
  virtual void requestSent(const RequestReport& /*report*/) {}

  /// The host's network has answered it, the first time. That may be after the question has ended.
  virtual void requestEnded(const RequestReport& /*report*/) {}

  /// So many reports were dropped since the last one. Told in front of the next one.
  virtual void reportsDropped(std::size_t /*count*/) {}

 protected:
  CatalogObserver() = default;
  CatalogObserver(const CatalogObserver&) = default;
  CatalogObserver& operator=(const CatalogObserver&) = default;
};

}  // namespace vellora
