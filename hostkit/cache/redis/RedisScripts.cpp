#include "hostkit/cache/redis/RedisScripts.h"

namespace vellora::hostkit::redisScripts {

namespace {

// What two scripts need stands here once, as text: a Redis keeps no functions between scripts.

// Calls `act` with the name of the set of each pair of a meta, as `encodedMeta` writes it.
const std::string eachPair = R"(
local function eachPair(meta, act)
  local at = 1
  while at <= #meta do
    local start = at
    for _ = 1, 2 do
      local colon = string.find(meta, ':', at, true)
      local size = colon and tonumber(string.sub(meta, at, colon - 1))
      if not size then return end
      at = colon + size + 1
    end
    act(ARGV[2] .. string.sub(meta, start, at - 1))
  end
end
local function forgetPairs(dataKey)
  local meta = redis.call('HGET', KEYS[2], dataKey)
  if meta then eachPair(meta, function(set) redis.call('SREM', set, dataKey) end) end
end
local function forget(dataKey)
  forgetPairs(dataKey)
  redis.call('HDEL', KEYS[2], dataKey)
  redis.call('ZREM', KEYS[1], dataKey)
  redis.call('UNLINK', ARGV[1] .. dataKey)
end
)";

// Makes `found` of the data keys, each followed by its number.
const std::string find = R"(
local found
if ARGV[2] then
  local number = redis.call('ZSCORE', KEYS[1], ARGV[2])
  found = number and {ARGV[2], number} or {}
elseif #KEYS > 2 then
  local command = {'ZINTER', #KEYS - 1, KEYS[1]}
  for i = 3, #KEYS do command[#command + 1] = KEYS[i] end
  command[#command + 1] = 'WEIGHTS'
  command[#command + 1] = 1
  for i = 3, #KEYS do command[#command + 1] = 0 end
  command[#command + 1] = 'WITHSCORES'
  found = redis.call(unpack(command))
else
  found = redis.call('ZRANGE', KEYS[1], 0, -1, 'WITHSCORES')
end
)";

}  // namespace

// The row comes first: when there is no memory for it, nothing has been changed. The number is the time in
// microseconds, or the next one where the clock was set back. Rows that are older than any may be have gone
// by themselves; what still names them goes here, a hundred at a time.
const std::string write = eachPair + R"(
local time = redis.call('TIME')
local present = time[1] * 1000000 + time[2]
local last = redis.call('ZRANGE', KEYS[1], -1, -1, 'WITHSCORES')[2]
local number = string.format('%.0f', math.max(present, (tonumber(last) or 0) + 1))
local dataKey, row, kept = ARGV[3], ARGV[1] .. ARGV[3], tonumber(ARGV[8])
redis.call('HSET', row, 'n', number, 'w', ARGV[4], 'c', ARGV[5], 'm', ARGV[6], 'd', ARGV[7],
  'h', ARGV[10], 's', redis.sha1hex(ARGV[7]))
redis.call('EXPIRE', row, kept + 1)
forgetPairs(dataKey)
redis.call('HSET', KEYS[2], dataKey, ARGV[6])
redis.call('ZADD', KEYS[1], number, dataKey)
eachPair(ARGV[6], function(set)
  redis.call('SADD', set, dataKey)
  redis.call('EXPIRE', set, kept + 2)
end)
redis.call('EXPIRE', KEYS[1], kept + 2)
redis.call('EXPIRE', KEYS[2], kept + 2)
redis.call('SET', KEYS[3], ARGV[9], 'EX', kept + 2)
local oldest = string.format('%.0f', present - (kept + 1) * 1000000)
for _, gone in ipairs(redis.call('ZRANGE', KEYS[1], '-inf', oldest, 'BYSCORE', 'LIMIT', 0, 100)) do
  forget(gone)
end
return 1
)";

const std::string read = find + R"(
local rows = {}
for i = 1, #found, 2 do
  local row = redis.call('HMGET', ARGV[1] .. found[i], 'n', 'w', 'c', 'm', 'd')
  if row[1] == found[i + 1] then rows[#rows + 1] = {found[i], row[1], row[2], row[3], row[4], row[5]} end
end
return rows
)";

// The data may be megabytes: it is looked at here and stays here.
const std::string readWithoutData = find + R"(
local rows = {}
for i = 1, #found, 2 do
  local row = redis.call('HMGET', ARGV[1] .. found[i], 'n', 'w', 'h', 'm', 'd', 's')
  if row[1] == found[i + 1] and row[5] and redis.sha1hex(row[5]) == row[6] then
    rows[#rows + 1] = {found[i], row[1], row[2], row[3], row[4]}
  end
end
return rows
)";

const std::string readHeads = find + R"(
local heads = {}
for i = 1, #found, 2 do
  heads[#heads + 1] = {found[i], found[i + 1], redis.call('HGET', KEYS[2], found[i])}
end
return heads
)";

const std::string remove = eachPair + R"(
for i = 3, #ARGV, 2 do
  if redis.call('ZSCORE', KEYS[1], ARGV[i]) == ARGV[i + 1] then forget(ARGV[i]) end
end
return 1
)";

}  // namespace vellora::hostkit::redisScripts
