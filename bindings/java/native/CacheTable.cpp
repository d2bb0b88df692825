#include "bindings/java/native/CacheTable.h"

#include <cstdint>

#include "bindings/java/native/HostCall.h"
#include "bindings/java/native/Jvm.h"
#include "bindings/java/native/Tables.h"

namespace vellora::jvm {

namespace {

const CacheMethods& methods() {
  return upcalls().cache;
}

void load(void* context, const vellora_text* key, vellora_sink* blob) {
  HostCall(context).with(*key).give(methods().load, blob);
}

std::int32_t save(void* context, const vellora_text* key, const vellora_text* blob) {
  return HostCall(context).with(*key).with(*blob).isTrue(methods().save);
}

std::int32_t remove(void* context, const vellora_text* key) {
  return HostCall(context).with(*key).isTrue(methods().remove);
}

std::int32_t hasTable(void* context, const vellora_text* table) {
  return HostCall(context).with(*table).isTrue(methods().hasTable);
}

std::int32_t createTable(void* context, const vellora_text* table, double longestSeconds) {
  return HostCall(context).with(*table).withSeconds(longestSeconds).isTrue(methods().createTable);
}

void rows(void* context, const vellora_text* table, const vellora_row_query* query, vellora_sink* rows) {
  HostCall(context)
      .with(*table)
      .with(query->meta, query->meta_count)
      .with(query->data_key)
      .withFlag(query->is_oldest_first != 0)
      .withNumber(query->lower)
      .withNumber(query->upper)
      .withFlag(query->wants_data != 0)
      .withSink(rows)
      .run(methods().rows);
}

std::int32_t purge(void* context, const vellora_text* table, const vellora_row_query* query) {
  return HostCall(context)
      .with(*table)
      .with(query->meta, query->meta_count)
      .with(query->data_key)
      .isTrue(methods().purge);
}

std::int32_t upsert(void* context, const vellora_text* table, const vellora_row* row) {
  return HostCall(context)
      .with(*table)
      .with(row->meta, row->meta_count)
      .with(row->data_key)
      .with(row->data)
      .isTrue(methods().upsert);
}

}  // namespace

vellora_cache cacheOf(JNIEnv* env, jobject cache) {
  auto table = tableOf<vellora_cache>(env, cache);
  table.load = load;
  table.save = save;
  table.remove = remove;
  table.has_table = hasTable;
  table.create_table = createTable;
  table.rows = rows;
  table.purge = purge;
  table.upsert = upsert;
  return table;
}

}  // namespace vellora::jvm
