-- Wireshark dissector of the host protocol between the HX7 load computer and the Orvik display: joins frames into
-- messages, names every command and value, and links each reply to its request. It works on candump logs, which
-- `hx7 record` writes, and on live CAN interfaces.
--
--   tshark -X lua_script:tools/wireshark/orvik.lua -r lift.log -Y 'orvik.load > 10000'
--
-- It joins frames and matches replies by the same rules as hx7 and the display (docs/host-protocol.md).

-- Wireshark sets __DIR__ for -X lua_script alone, and leaves it empty in the working directory.
local here = __DIR__ or debug.getinfo(1, "S").source:match("^@(.*)/") or ""
if here == "" then here = "." end
local tables = dofile(here .. "/orvik_tables.lua")

local orvik = Proto("orvik", "Orvik host protocol")

local PATIENCE = 1.0     -- seconds for which a request waits for its reply
local MOST_WAITING = 32  -- requests

-- ---- Fields ----

local fields = {}

local function identifier(name)
  return (name:gsub("-", "_"))
end

local function define(make, name, label, ...)
  local key = "orvik." .. name
  fields[key] = make(key, label, ...)
  return key
end

define(ProtoField.string, "from", "From")
define(ProtoField.uint8, "sequence", "Sequence")
define(ProtoField.uint8, "frames", "Frames of the message")
define(ProtoField.string, "command", "Command")
define(ProtoField.string, "name", "Name")
define(ProtoField.string, "problem", "Problem")
define(ProtoField.bytes, "bytes", "Bytes")
define(ProtoField.framenum, "part", "Frame of the message", base.NONE)
define(ProtoField.framenum, "request_in", "Request in", base.NONE, frametype.REQUEST)
define(ProtoField.framenum, "reply_in", "Reply in", base.NONE, frametype.RESPONSE)
define(ProtoField.float, "reply_time", "Reply after (seconds)")
define(ProtoField.uint32, "broken", "Broken sequences so far")
define(ProtoField.uint32, "strays", "Stray frames so far")
define(ProtoField.uint32, "too_long", "Messages that were too long so far")
define(ProtoField.uint32, "unanswered", "Requests without an answer so far")

local MAKERS = {
  u8 = function(key, label, names) return ProtoField.uint8(key, label, base.DEC, names) end,
  i16 = function(key, label) return ProtoField.int16(key, label, base.DEC) end,
  float = function(key, label) return ProtoField.float(key, label) end,
  lamps = function(key, label) return ProtoField.uint32(key, label, base.HEX) end,
  key_masks = function(key, label) return ProtoField.string(key, label) end,
  text = function(key, label) return ProtoField.string(key, label) end,
}

-- Defines the filter fields for the values of a command and keeps each name in `field.key`.
local function define_values(prefix, list)
  for _, field in ipairs(list) do
    local name = #list == 1 and prefix or prefix .. "." .. identifier(field.name)
    local label = #list == 1 and prefix:match("[^.]*$"):gsub("_", "-") or field.name
    field.key = define(function(key) return MAKERS[field.type](key, label, field.names) end, name)
  end
end

local by_number = {}
for _, command in ipairs(tables.commands) do
  by_number[command.number * 256 + command.sub] = command
  local prefix = identifier(command.name)
  if command.name == "operating-values" then
    for _, field in ipairs(command.fields) do  -- the crane's values have short names: orvik.load
      field.key = define(function(key) return MAKERS[field.type](key, field.name) end, identifier(field.name))
    end
  else
    define_values(prefix, command.fields)
  end
  if command.reply then define_values("reply." .. prefix, command.reply) end
end
define(ProtoField.string, "flash", "flash")
define(ProtoField.string, "text.other", "text of an unknown field")
for number = 0, #tables.text_fields do
  define(ProtoField.string, "text." .. identifier(tables.text_fields[number]), tables.text_fields[number])
end
for bit = 0, #tables.lamps do
  define(ProtoField.bool, "lamp." .. identifier(tables.lamps[bit]), tables.lamps[bit])
end
define(ProtoField.string, "lamp.lit", "Lit")
define(ProtoField.string, "key", "Valid key")

local list = {}
for _, field in pairs(fields) do list[#list + 1] = field end
orvik.fields = list

local experts = {
  broken = ProtoExpert.new("orvik.expert.broken", "A frame is missing, repeated or out of order: the message is lost",
                           expert.group.SEQUENCE, expert.severity.WARN),
  stray = ProtoExpert.new("orvik.expert.stray", "No message begins with this frame", expert.group.SEQUENCE,
                          expert.severity.WARN),
  too_long = ProtoExpert.new("orvik.expert.too_long", "The display drops a message of more than 36 frames",
                             expert.group.SEQUENCE, expert.severity.WARN),
  unasked = ProtoExpert.new("orvik.expert.unasked", "No request waits for this reply", expert.group.RESPONSE_CODE,
                            expert.severity.WARN),
  unanswered = ProtoExpert.new("orvik.expert.unanswered", "The display did not reply", expert.group.RESPONSE_CODE,
                               expert.severity.NOTE),
  problem = ProtoExpert.new("orvik.expert.problem", "The display refuses this", expert.group.MALFORMED,
                            expert.severity.WARN),
}
local expert_list = {}
for _, info in pairs(experts) do expert_list[#expert_list + 1] = info end
orvik.experts = expert_list

-- ---- Joining frames into messages, one state for each source address ----

local Joiner = {}
Joiner.__index = Joiner

function Joiner.new()
  return setmetatable({ received = 0, expected = 0, broken = 0, strays = 0, too_long = 0 }, Joiner)
end

function Joiner:deliver()
  self.received = 0
  if self.expected > tables.most_frames then
    self.too_long = self.too_long + 1
    return { kind = "too_long", frames = self.frames }
  end
  return { kind = "message", bytes = self.bytes, frames = self.frames }
end

function Joiner:begin(data, number)
  if data:get_index(0) ~= 0 or data:get_index(1) == 0 then
    self.strays = self.strays + 1
    return { kind = "stray" }
  end
  self.expected = data:get_index(1)
  self.received = 1
  self.bytes = data:subset(2, 6)
  self.frames = { number }
  return self.expected < 2 and self:deliver() or { kind = "part", part = 1, of = self.expected }
end

-- Only a frame of eight bytes counts. The result's `kind` says what the frame was. A frame that breaks a sequence is dropped even
-- if it could begin a message, because the display drops it too.
function Joiner:feed(data, number)
  if data:len() < 8 then
    self.strays = self.strays + 1
    return { kind = "stray" }
  end
  if self.received == 0 then return self:begin(data, number) end
  if data:get_index(0) ~= self.received then
    self.received = 0
    self.broken = self.broken + 1
    return { kind = "broken", frames = self.frames }
  end
  self.bytes:append(data:subset(1, 7))
  self.frames[#self.frames + 1] = number
  self.received = self.received + 1
  if self.received >= self.expected then return self:deliver() end
  return { kind = "part", part = self.received, of = self.expected }
end

-- ---- Requests and replies ----

local joiners, waiting, units, unanswered, results

function orvik.init()
  joiners = { host = Joiner.new(), display = Joiner.new() }
  waiting = {}  -- requests, the oldest first
  units = nil   -- of weights and lengths: nil until the host has set them
  unanswered = 0
  results = {}  -- the result for each frame number: frames are joined only once, in order
end

local function find_command(bytes)
  local number = bytes:get_index(0)
  local sub = -1
  if number == tables.extended_command then sub = bytes:get_index(1) end
  return by_number[number * 256 + sub]
end

local function give_up(count)
  for _ = 1, count do
    table.remove(waiting, 1).result.unanswered = true
    unanswered = unanswered + 1
  end
end

local function give_up_old(now)
  local count = 0
  while waiting[count + 1] and waiting[count + 1].time < now - PATIENCE do count = count + 1 end
  give_up(math.max(count, #waiting - MOST_WAITING))
end

local function hear_host(result, now)
  local command = find_command(result.bytes)
  result.message = command
  result.units = units
  if not command then return end
  if command.reply and #result.frames == 1 then  -- the display does not answer a longer request
    waiting[#waiting + 1] = { command = command, result = result, time = now, number = result.frames[1] }
    give_up_old(now)
  end
  if command.name == "units" and result.bytes:get_index(2) <= 1 then units = result.bytes:get_index(2) end
end

-- Replies carry no command number: a reply belongs to the oldest waiting request whose reply has as many frames.
local function hear_display(result, now, number)
  give_up_old(now)
  for index, request in ipairs(waiting) do
    if request.command.reply_frames == #result.frames then
      give_up(index - 1)
      table.remove(waiting, 1)
      result.answers = request.command
      result.request_in = request.number
      result.reply_time = now - request.time
      request.result.reply_in = number
      return
    end
  end
end

-- The display answers these requests before it joins frames, so they may come between the frames of a message.
local function is_immediate_request(data)
  if data:len() < 8 or data:get_index(0) ~= 0 or data:get_index(1) ~= 1 then return false end
  local command = find_command(data:subset(2, 6))
  return command ~= nil and command.reply ~= nil
end

local function hear(from, data, pinfo)
  local now = pinfo.abs_ts
  local result
  if from == "host" and is_immediate_request(data) then
    result = { kind = "message", bytes = data:subset(2, 6), frames = { pinfo.number } }
  else
    result = joiners[from]:feed(data, pinfo.number)
  end
  if result.kind == "message" then
    if from == "host" then hear_host(result, now) else hear_display(result, now, pinfo.number) end
  end
  local joiner = joiners[from]
  result.counters = { broken = joiner.broken, strays = joiner.strays, too_long = joiner.too_long,
                      unanswered = unanswered }
  return result
end

-- ---- Messages in words ----

local function add(tree, key, range, value)
  return tree:add(fields[key], range, value)
end

local function unit_of(field, set)
  local by_setting = tables.set_units[field.unit]
  if by_setting then return by_setting[set] end
  return field.unit
end

local function add_lamps(tree, field, buffer)
  local word = buffer(field.offset, 1):uint() + buffer(field.offset + 1, 1):uint() * 0x100 +
      buffer(field.offset + 2, 1):uint() * 0x10000 + buffer(field.offset + 5, 1):uint() * 0x1000000
  local range = buffer(field.offset, field.size)
  local lamps = add(tree, field.key, range, word)
  for bit = 0, #tables.lamps do
    local lit = math.floor(word / 2 ^ bit) % 2 == 1
    add(lamps, "orvik.lamp." .. identifier(tables.lamps[bit]), range, lit)
    if lit then add(lamps, "orvik.lamp.lit", range, tables.lamps[bit]) end
  end
end

-- "info tires:no-beep": the valid keys, with their mask unless it is beep-once.
local function add_key_masks(tree, field, buffer)
  local begin = field.offset + 1
  local count = math.min(buffer(field.offset, 1):uint(), buffer:len() - begin)
  local words = {}
  for key = 0, count - 1 do
    local mask = buffer(begin + key, 1):uint()
    local name = tables.keys[key] or tostring(key)
    local mask_name = tables.key_masks[mask] or tostring(mask)
    if mask_name ~= "beep-once" then name = name .. ":" .. mask_name end
    if mask ~= 0 then words[#words + 1] = name end
  end
  local text = #words > 0 and table.concat(words, " ") or "none"
  local keys = add(tree, field.key, buffer(field.offset, 1 + count), text)
  for _, word in ipairs(words) do add(keys, "orvik.key", buffer(begin, count), word) end
end

local READERS = {
  u8 = function(range) return range:uint() end,
  i16 = function(range) return range:int() end,
  float = function(range) return range:float() end,
  text = function(range) return range:string() end,
}

local function add_values(tree, list_of_fields, buffer, set)
  for _, field in ipairs(list_of_fields) do
    if field.type == "lamps" then
      add_lamps(tree, field, buffer)
    elseif field.type == "key_masks" then
      add_key_masks(tree, field, buffer)
    else
      local range = buffer(field.offset, field.size)
      local value = READERS[field.type](range)
      if field.scale then value = value / field.scale end
      local item = add(tree, field.key, range, value)
      local unit = unit_of(field, set)
      local named = field.names and field.names[value]
      if unit and not named then item:append_text(" " .. unit) end
    end
  end
end

-- Adds the text sub-command at `at`. Returns where the next one begins, or nil and the problem where the display stops
-- reading too.
local function add_text(tree, buffer, at, stop, flash)
  local left = stop - at
  local length = left < 4 and 0 or buffer(at, 2):uint()
  if length < 3 or length + 2 > left then
    return nil, string.format("a text's length is %d, with %d bytes left", length, left)
  end
  local number = buffer(at + 3, 1):uint()
  local name = tables.text_fields[number]
  local key = flash and "orvik.flash" or name and "orvik.text." .. identifier(name) or "orvik.text.other"
  local range = buffer(at + 4, length - 2)
  add(tree, key, range, range:string(ENC_UTF_8))
  if not flash and not name then return at + length + 2, "there is no text field " .. number end
  return at + length + 2
end

local function add_texts(tree, buffer)
  local length = buffer(1, 2):uint()
  if length < 5 or length > buffer:len() - 3 then
    return string.format("the length is %d, with %d bytes left", length, buffer:len() - 3)
  end
  local at, problem = 3, nil
  while at and at < 3 + length do
    local wrong
    at, wrong = add_text(tree, buffer, at, 3 + length, false)
    problem = wrong or problem
  end
  return problem
end

-- Adds the command's values. Returns why the display refuses the message, or nil.
local function add_command(tree, command, buffer, set)
  if buffer:len() < command.least then
    return string.format("%d bytes came, %d are needed", buffer:len(), command.least)
  end
  if command.layout == "texts" then return add_texts(tree, buffer) end
  if command.layout == "flash" then
    local _, problem = add_text(tree, buffer, 1, buffer:len(), true)
    return problem
  end
  add_values(tree, command.fields, buffer, set)
end

local function command_title(command)
  if command.sub < 0 then return "CMD" .. command.number end
  return "CMD" .. command.number .. "." .. command.sub
end

local function add_parts(tree, frames)
  if #frames < 2 then return end
  for _, number in ipairs(frames) do tree:add(fields["orvik.part"], number):set_generated() end
end

local function show_heading(tree, title, name, pinfo)
  tree:add(fields["orvik.command"], title):set_generated()
  tree:add(fields["orvik.name"], name):set_generated()
  tree:append_text(", " .. title .. " " .. name)
  pinfo.cols.info:set(title .. " " .. name)
end

local function show_problem(tree, problem, info)
  local item = tree:add(fields["orvik.problem"], problem)
  item:set_generated()
  item:add_proto_expert_info(info, problem)
end

local function show_unknown(tree, buffer, problem, info, pinfo)
  show_heading(tree, "?", "unknown", pinfo)
  tree:add(fields["orvik.bytes"], buffer())
  show_problem(tree, problem, info)
end

local function show_request_links(tree, result)
  if result.reply_in then tree:add(fields["orvik.reply_in"], result.reply_in):set_generated() end
  if result.unanswered then tree:add_proto_expert_info(experts.unanswered) end
end

local function show_host_message(tree, result, buffer, pinfo)
  local command = result.message
  if not command then
    return show_unknown(tree, buffer, "the display knows no such command", experts.problem, pinfo)
  end
  show_heading(tree, command_title(command), command.name, pinfo)
  local problem = add_command(tree, command, buffer, result.units)
  if problem then show_problem(tree, problem, experts.problem) end
  show_request_links(tree, result)
end

local function show_reply(tree, result, buffer, pinfo)
  if not result.answers then return show_unknown(tree, buffer, "no request waits for this reply", experts.unasked, pinfo) end
  show_heading(tree, "reply", result.answers.name, pinfo)
  add_values(tree, result.answers.reply, buffer)
  tree:add(fields["orvik.request_in"], result.request_in):set_generated()
  tree:add(fields["orvik.reply_time"], result.reply_time):set_generated()
end

local function show_counters(tree, result)
  for _, name in ipairs({ "broken", "strays", "too_long", "unanswered" }) do
    if result.counters[name] > 0 then
      tree:add(fields["orvik." .. name], result.counters[name]):set_generated()
    end
  end
end

-- A frame that completes no message.
local function show_frame(tree, result, pinfo)
  if result.kind == "part" then
    pinfo.cols.info:set(string.format("frame %d of %d", result.part, result.of))
    tree:append_text(string.format(", frame %d of %d", result.part, result.of))
  else
    tree:add_proto_expert_info(experts[result.kind])
    pinfo.cols.info:set(result.kind == "too_long" and "message too long" or result.kind .. " frame")
  end
end

-- ---- Registration ----

local FROM = { [tables.host_id] = "host", [tables.display_id] = "display" }

local function dissect(from, buffer, pinfo, root)
  local data = buffer:bytes()
  if not pinfo.visited or not results[pinfo.number] then results[pinfo.number] = hear(from, data, pinfo) end
  local result = results[pinfo.number]
  pinfo.cols.protocol:set("Orvik")
  pinfo.cols.src:set(from)
  pinfo.cols.dst:set(from == "host" and "display" or "host")

  local tree = root:add(orvik, buffer(), "Orvik host protocol, from the " .. from)
  tree:add(fields["orvik.from"], from):set_generated()
  if buffer:len() > 0 then tree:add(fields["orvik.sequence"], buffer(0, 1)) end
  if buffer:len() > 1 and data:get_index(0) == 0 then
    tree:add(fields["orvik.frames"], buffer(1, 1))
  end
  if result.kind == "message" then
    local message = result.bytes:tvb("Orvik message")
    if from == "host" then show_host_message(tree, result, message, pinfo) else show_reply(tree, result, message, pinfo) end
    add_parts(tree, result.frames)
  else
    show_frame(tree, result, pinfo)
  end
  show_counters(tree, result)
  return buffer:len()
end

-- The identifier gives the direction. A dissector does not learn which table entry called it, so each direction has
-- a dissector of its own.
local directions = {}
for number, from in pairs(FROM) do
  local direction = Proto("orvik_" .. from, "Orvik host protocol, from the " .. from)
  function direction.dissector(buffer, pinfo, root) return dissect(from, buffer, pinfo, root) end
  directions[number] = direction
  DissectorTable.get("can.extended_id"):add(number, direction)
end
