-- Reads the entries of a trace. The tables in front of this are those of the build that wrote the trace:
-- codes, records, record_at, operations, pieces.

local kiv = Proto("kiv", "Calls of platform operations")

local KIND = { schema = 1, begins = 2, returns = 3, worker = 4, case_begins = 5, case_ended = 6, set_up_begins = 7,
  set_up_ended = 8, tear_down_begins = 9, tear_down_ended = 10, check = 11, print = 12, left_out = 13 }
local KIND_NAMES = { "schema", "call begins", "call returns", "worker", "case begins", "case ended", "set-up begins",
  "set-up ended", "tear-down begins", "tear-down ended", "check", "print", "calls left out" }
local WHOLE, NO_RECORD = 0xffff, 0xffff

local heads = {
  kind = ProtoField.uint16("kiv.kind", "Entry", base.DEC, KIND_NAMES),
  operation = ProtoField.string("kiv.operation", "Operation"),
  family = ProtoField.string("kiv.family", "Family"),
  sequence = ProtoField.uint64("kiv.sequence", "Call"),
  checks = ProtoField.uint64("kiv.checks", "Checks before it"),
  took = ProtoField.uint64("kiv.took", "Nanoseconds"),
  result = ProtoField.uint64("kiv.result", "Returned", base.HEX),
  status = ProtoField.string("kiv.status", "Status"),
  argument = ProtoField.uint64("kiv.argument", "Argument", base.HEX),
  place = ProtoField.string("kiv.place", "Place"),
  text = ProtoField.string("kiv.text", "Text"),
  number = ProtoField.uint64("kiv.number", "Number"),
  passed = ProtoField.bool("kiv.passed", "Passed"),
  line = ProtoField.int32("kiv.line", "Line"),
  other = ProtoField.string("kiv.other", "Memory"),
}
local all_fields = {}
for _, field in pairs(heads) do all_fields[#all_fields + 1] = field end

local foreign = ProtoExpert.new("kiv.foreign", "Written by another build: kivctl trace dissector TRACE makes its dissector",
  expert.group.UNDECODED, expert.severity.WARN)
local damaged = ProtoExpert.new("kiv.damaged", "Not what its head says", expert.group.MALFORMED, expert.severity.ERROR)
kiv.experts = { foreign, damaged }

-- One filter name for each field of each record; where alternatives of a record give a name to fields of several
-- types, the later ones have the type behind it.
local MAKE = {
  number = function(abbreviation, name) return ProtoField.uint64(abbreviation, name, base.DEC) end,
  hex = function(abbreviation, name) return ProtoField.uint64(abbreviation, name, base.HEX) end,
  ipv4 = ProtoField.ipv4, ipv6 = ProtoField.ipv6, mac = ProtoField.ether,
  bytes = function(abbreviation, name) return ProtoField.bytes(abbreviation, name) end,
}
local function type_of(field)
  if field.kind == "ipv4" or field.kind == "ipv6" or field.kind == "mac" then return field.kind end
  if field.width > 8 or field.kind == "text" then return "bytes" end
  if field.kind == "hex" or field.kind == "flags" or field.kind == "reserved" or field.kind == "buffer" then return "hex" end
  return "number"
end
local made = {}
local function name_fields(record, fields)
  for _, field in ipairs(fields) do
    if field.choices then
      for _, choice in ipairs(field.choices) do name_fields(record, choice.fields) end
    elseif field.kind ~= "record" then
      local wanted, abbreviation = type_of(field), "kiv." .. record.name .. "." .. field.name
      if made[abbreviation] and made[abbreviation].type ~= wanted then abbreviation = abbreviation .. "_" .. wanted end
      if not made[abbreviation] then
        made[abbreviation] = { type = wanted, proto = MAKE[wanted](abbreviation, field.name) }
        all_fields[#all_fields + 1] = made[abbreviation].proto
      end
      field.proto = made[abbreviation].proto
    end
  end
end
for _, record in ipairs(records) do name_fields(record, record.fields) end
kiv.fields = all_fields

-- Numbers are two halves of 32 bits each, since those of the language end at 53.
local function number_at(bytes, at, width, big)
  local low, high = 0, 0
  for i = 0, width - 1 do
    local byte = bytes:byte(at + 1 + (big and width - 1 - i or i))
    if i < 4 then low = low + byte * 2 ^ (8 * i) else high = high + byte * 2 ^ (8 * (i - 4)) end
  end
  return low, high
end
local function decimal(low, high)
  if high < 2 ^ 20 then return string.format("%.0f", high * 2 ^ 32 + low) end
  return tostring(UInt64(low, high))
end
local function hexadecimal(low, high)
  if high > 0 then return string.format("0x%x%08x", high, low) end
  return string.format("0x%x", low)
end
local function key_of(low, high) return high * 2 ^ 32 + low end  -- exact for what names have

-- `count` bits from `from` on.
local function bits_of(low, high, from, count)
  if from >= 32 then return math.floor(high / 2 ^ (from - 32)) % 2 ^ count end
  if from + count <= 32 then return math.floor(low / 2 ^ from) % 2 ^ count end
  return math.floor(low / 2 ^ from) + high % 2 ^ (from + count - 32) * 2 ^ (32 - from)
end
local function without_bits(low, high, from, count)
  local value = bits_of(low, high, from, count)
  if from >= 32 then return low, high - value * 2 ^ (from - 32) end
  if from + count <= 32 then return low - value * 2 ^ from, high end
  return low % 2 ^ from, high - high % 2 ^ (from + count - 32)
end

local function flags_text(list, low, high)
  local parts = {}
  for _, one in ipairs(list) do
    local value = 0
    for _, run in ipairs(one.runs) do
      value = value + bits_of(low, high, run[1], run[2]) * 2 ^ (run[1] - one.runs[1][1])
    end
    if value ~= 0 then
      for _, run in ipairs(one.runs) do low, high = without_bits(low, high, run[1], run[2]) end
      if #one.runs == 1 and one.runs[1][2] == 1 then parts[#parts + 1] = one.name
      else parts[#parts + 1] = one.name .. "=" .. (one.names and one.names[value] or string.format("%.0f", value)) end
    end
  end
  if low ~= 0 or high ~= 0 then parts[#parts + 1] = hexadecimal(low, high) end
  return #parts == 0 and "0" or table.concat(parts, "|")
end

local function hex_of(bytes, between)
  return (bytes:gsub(".", function(c) return string.format("%02x", c:byte()) .. between end))
end
local function is_zero(bytes) return not bytes:find("[^%z]") end

local function bytes_text(bytes)
  local first, last = bytes:find("[^%z]"), #bytes
  if not first then return "0" end
  while bytes:byte(last) == 0 do last = last - 1 end
  return (first > 1 and "@" .. (first - 1) .. ":" or "") .. hex_of(bytes:sub(first, last), "")
end
local function quoted(bytes)
  local zero = bytes:find("%z") or #bytes + 1
  local text = bytes:sub(1, zero - 1):gsub(".", function(c)
    local byte = c:byte()
    if byte < 0x20 or byte >= 0x7f or c == "\\" or c == '"' then return string.format("\\x%02x", byte) end
  end)
  local rest = bytes:sub(zero)
  return '"' .. text .. '"' .. (is_zero(rest) and "" or "+" .. hex_of(rest, ""))
end

local function value_text(field, bytes, at, range)
  local kind, part = field.kind, bytes:sub(at + 1, at + field.width)
  if kind == "text" then return quoted(part) end
  if kind == "mac" then return (hex_of(part, ":"):sub(1, -2)) end
  if kind == "ipv6" then return tostring(range:ipv6()) end
  if field.width > 8 then return bytes_text(part) end
  local low, high = number_at(bytes, at, field.width, field.big)
  if kind == "hex" or kind == "reserved" then return hexadecimal(low, high) end
  if kind == "flags" then return flags_text(field.bits, low, high) end
  if kind == "ipv4" then
    return string.format("%d.%d.%d.%d", bits_of(low, 0, 24, 8), bits_of(low, 0, 16, 8), bits_of(low, 0, 8, 8), low % 256)
  end
  if kind == "enumeration" then return field.names[key_of(low, high)] or decimal(low, high) end
  if kind == "signed" then
    local sign = field.width > 4 and bits_of(high, 0, 8 * field.width - 33, 1) or bits_of(low, 0, 8 * field.width - 1, 1)
    if sign == 1 then
      if field.width <= 4 then return string.format("%.0f", low - 2 ^ (8 * field.width)) end
      return tostring(Int64(low, high + (field.width < 8 and 2 ^ 32 - 2 ^ (8 * field.width - 32) or 0)))
    end
  end
  return decimal(low, high)
end

-- Shows fields of the bytes of a block that lie in the packet at `from`; of those that are also in `before`, what
-- differs.
local Block = {}
Block.__index = Block

local function chosen(list, selector, bytes, base)
  local value
  if selector and base + selector.offset + selector.width <= #bytes then
    value = key_of(number_at(bytes, base + selector.offset, selector.width, false))
  end
  for _, choice in ipairs(list) do
    if choice.otherwise or choice.value == value then return choice end
  end
end

function Block:gap(to)
  if to <= self.shown or to > #self.bytes then return end
  local part = self.bytes:sub(self.shown + 1, to)
  local was = self.before and self.before:sub(self.shown + 1, to)
  if (was and was ~= part) or (not was and not is_zero(part)) then
    self.tree:add(heads.other, self.range(self.shown, to - self.shown), bytes_text(part))
      :set_text(self.path .. ".byte" .. self.shown .. ": " .. bytes_text(part))
  end
end

function Block:field(path, field, at)
  if at + field.width > #self.bytes then return end
  self:gap(at)
  self.shown = math.max(self.shown, at + field.width)
  local part = self.bytes:sub(at + 1, at + field.width)
  if self.before and self.before:sub(at + 1, at + field.width) == part then return end
  local range = self.range(at, field.width)
  local text
  if field.kind == "buffer" then
    text = self.buffer(path, at, is_zero(part))
    if not text then return end
  else
    text = value_text(field, self.bytes, at, range)
  end
  local wanted, item = type_of(field), nil
  if wanted == "number" or wanted == "hex" then
    local low, high = number_at(self.bytes, at, field.width, field.big)
    item = self.tree:add(field.proto, range, UInt64(low, high))
  elseif wanted == "ipv4" and not field.big then item = self.tree:add_le(field.proto, range)
  else item = self.tree:add(field.proto, range) end
  item:set_text(path .. ": " .. text)
end

function Block:fields(path, fields, base)
  for _, field in ipairs(fields) do
    if base + field.offset >= #self.bytes then return end
    if field.choices then
      local choice = chosen(field.choices, field.selector, self.bytes, base)
      if choice then self:fields(path, choice.fields, base) end
    else
      for i = 0, field.count - 1 do
        local name = path .. field.name .. (field.count > 1 and "[" .. i .. "]" or "")
        local at = base + field.offset + i * field.width
        if field.kind == "record" then self:record(name .. ".", records[field.record], at)
        else self:field(name, field, at) end
      end
    end
  end
end

local TAIL = { name = "tail", kind = "reserved", offset = 0, count = 1 }
local tails = {}
function Block:record(path, record, base)
  self:fields(path, record.fields, base)
  local items = record.items
  if not items then return end
  local begin, item = base + record.size, records[items.record]
  if #self.bytes < begin + items.tail then return end
  local room = math.floor((#self.bytes - begin - items.tail) / item.size)
  self:array(path .. items.name, item, begin, item.size, room)
  if items.tail > 0 then
    local at = begin + room * item.size
    local part = self.bytes:sub(at + 1, at + items.tail)
    self:gap(at)
    self.shown = at + items.tail
    if self.before and self.before:sub(at + 1, at + items.tail) == part then return end
    tails[items.tail] = tails[items.tail] or setmetatable({ width = items.tail }, { __index = TAIL })
    local text = value_text(tails[items.tail], self.bytes, at)
    self.tree:add(heads.other, self.range(at, items.tail), text):set_text(path .. "tail: " .. text)
  end
end

function Block:array(path, record, base, size, count)
  for i = 0, count - 1 do
    if base + i * size >= #self.bytes then return end
    self:record(path .. "[" .. i .. "].", record, base + i * size)
  end
end

-- Calls that have begun, by their number.
local begun = {}
function kiv.init() begun = {} end
local is_foreign = false

local function memory_of(call, parameter, field)
  for _, block in ipairs(call.blocks) do
    if block.parameter == parameter and block.field == field then return block end
  end
end

local show_content

-- The bytes of a block by their layout; without one they are a text, a number or bytes.
local function show_block(call, block, path, layout, tree, range, bytes, before, with_buffers)
  local parameter = call.operation.parameters[block.parameter + 1]
  if not layout then
    local text
    if block.field == WHOLE and parameter.type:find("^const char") then text = quoted(bytes)
    elseif #bytes <= 8 then text = decimal(number_at(bytes, 0, #bytes, false))
    else text = bytes_text(bytes) end
    text = text .. (block.cut and "..." or "")
    tree:add(heads.other, range(), text):set_text(path .. ": " .. text)
    return
  end
  local shown = setmetatable({ tree = tree, range = range, bytes = bytes, before = before, shown = 0, path = path }, Block)
  shown.buffer = function(buffer_path, at, is_null)
    local memory = block.field == WHOLE and memory_of(call, block.parameter, at)
    if is_null then return "null" end
    if not memory or memory.is_null then return "unknown" end
    if not with_buffers then return "other" end
    show_content(call, memory, buffer_path, tree)
  end
  if block.items > 1 then
    if block.item_size > 0 then
      shown:array(path, layout, 0, block.item_size, math.floor(#bytes / block.item_size))
    end
  else
    shown:record(path .. ".", layout, 0)
  end
  shown:gap(#bytes)
  if block.cut then tree:add(heads.other, range(), "here"):set_text(path .. ".cut: here") end
end

-- What a block was handed over with; of an OUT parameter that is what happens to be there.
show_content = function(call, block, path, tree)
  if call.operation.parameters[block.parameter + 1].direction == "OUT" then return end
  show_block(call, block, path, block.record, tree, block.range, block.bytes, nil, true)
end

local function uint64(range) return range:le_uint64() end

local function dissect_begins(buffer, operation, tree, pinfo)
  local sequence = tostring(uint64(buffer(16, 8)))
  tree:add_le(heads.sequence, buffer(16, 8))
  tree:add_le(heads.checks, buffer(24, 8))
  local call = { operation = operation, blocks = {}, addresses = {} }
  local at = 40
  for i, parameter in ipairs(operation.parameters) do
    local value = uint64(buffer(at, 8))
    tree:add_le(heads.argument, buffer(at, 8)):set_text(parameter.name .. " = 0x" .. value:tohex():gsub("^0+(.)", "%1"))
    call.addresses[i] = is_zero(buffer:raw(at, 8))
    at = at + 8
  end
  for _ = 1, buffer(36, 4):le_uint() do
    local size = buffer(at + 8, 4):le_uint()
    local block = { is_null = is_zero(buffer:raw(at, 8)), item_size = buffer(at + 12, 4):le_uint(),
      items = buffer(at + 16, 4):le_uint(), field = buffer(at + 20, 2):le_uint(), parameter = buffer(at + 26, 1):uint(),
      cut = buffer(at + 27, 1):uint() ~= 0 }
    local record, answer = buffer(at + 22, 2):le_uint(), buffer(at + 24, 2):le_uint()
    block.record = record ~= NO_RECORD and records[record_at[record]] or nil
    block.answer = answer ~= NO_RECORD and records[record_at[answer]] or nil
    local head, from = at, at + 32
    block.bytes = size > 0 and buffer:raw(from, size) or ""
    block.range = function(offset, length)
      if size == 0 then return buffer(head, 32) end
      return buffer(from + (offset or 0), length or size)
    end
    call.blocks[#call.blocks + 1] = block
    at = from + math.ceil(size / 8) * 8
  end
  for i, parameter in ipairs(operation.parameters) do
    if parameter.direction ~= "NONE" and parameter.direction ~= "OUT" then
      local block = memory_of(call, i - 1, WHOLE)
      if block and not block.is_null then
        show_content(call, block, parameter.name, tree)
      end
    end
  end
  for _, block in ipairs(call.blocks) do block.range = nil end
  begun[sequence] = call
  pinfo.cols.info = "#" .. sequence .. " " .. operation.name
end

local function dissect_returns(buffer, operation, tree, pinfo)
  local sequence = tostring(uint64(buffer(16, 8)))
  tree:add_le(heads.sequence, buffer(16, 8))
  tree:add_le(heads.took, buffer(24, 8))
  tree:add_le(heads.result, buffer(32, 8))
  local low, high = number_at(buffer:raw(32, 8), 0, 8, false)
  local text = decimal(low, high)
  if operation.answers_status then
    if low ~= 0 then text = codes[low] or hexadecimal(low, 0) end
    tree:add(heads.status, buffer(32, 4), text)
  end
  pinfo.cols.info = "#" .. sequence .. " " .. operation.name .. " = " .. text
  local call = begun[sequence]
  if not call then return end
  local succeeded = not operation.answers_status or low == 0
  local at, changed = 48, {}
  for _ = 1, buffer(40, 4):le_uint() do
    local block, size = call.blocks[buffer(at, 4):le_uint() + 1], buffer(at + 4, 4):le_uint()
    changed[block] = true
    local from = at + 8
    local parameter = operation.parameters[block.parameter + 1]
    local path = parameter.name
    if block.field ~= WHOLE then
      for _, field in ipairs(memory_of(call, block.parameter, WHOLE).record.fields) do
        if field.offset == block.field then path = path .. "." .. field.name end
      end
    end
    local before = not (parameter.direction == "OUT" and succeeded) and block.bytes or nil
    show_block(call, block, path, succeeded and block.answer or block.record, tree:add(kiv, buffer(at, 8 + size), path .. " as it was left"),
      function(offset, length) return buffer(from + (offset or 0), length or size) end, buffer:raw(from, size), before, false)
    at = from + math.ceil(size / 8) * 8
  end
  -- An answer that is what happened to be there before is not in this entry.
  for _, block in ipairs(call.blocks) do
    local parameter = operation.parameters[block.parameter + 1]
    if succeeded and parameter.direction == "OUT" and not changed[block] and #block.bytes > 0 then
      local kept = ByteArray.new(block.bytes, true):tvb(parameter.name)
      show_block(call, block, parameter.name, block.answer, tree:add(kiv, kept(), parameter.name .. " as it was before"),
        function(offset, length) return kept(offset or 0, length or #block.bytes) end, block.bytes, nil, false)
    end
  end
end

local function dissect_mark(buffer, kind, tree, pinfo)
  local texts, at = {}, 64
  for i = 1, 5 do
    local size = buffer(40 + 4 * (i - 1), 4):le_uint()
    texts[i] = size > 0 and buffer:raw(at, size) or ""
    at = at + size
  end
  local info = KIND_NAMES[kind]
  if kind == KIND.print then
    tree:add(heads.text, buffer(64), texts[1])
    info = "print " .. texts[1]:gsub("\n$", "")
  elseif kind == KIND.check then
    local passed = buffer(36, 1):uint() ~= 0
    tree:add(heads.passed, buffer(36, 1), passed)
    tree:add_le(heads.line, buffer(32, 4))
    for i = 1, 5 do
      if texts[i] ~= "" then tree:add(heads.text, buffer(64), texts[i]) end
    end
    info = (passed and "passed " or "FAILED ") .. texts[4] .. ", " .. texts[5] .. ", line " .. buffer(32, 4):le_int()
  elseif kind == KIND.worker or kind == KIND.left_out then
    tree:add_le(heads.number, buffer(16, 8))
    info = info .. " " .. tostring(uint64(buffer(16, 8)))
  else
    local place = texts[1] .. (texts[2] ~= "" and "/" .. texts[2] or "")
    tree:add(heads.place, buffer(64), place)
    info = info .. " " .. place
  end
  pinfo.cols.info = info
end

local function dissect_schema(buffer, tree, pinfo)
  local sum = 0
  local bytes = buffer:raw(16)
  for i = 1, #bytes do sum = (sum * 31 + bytes:byte(i)) % 2 ^ 32 end
  if pinfo.number == 1 then is_foreign = false end
  pinfo.cols.info = "schema"
  if pieces[pinfo.number] ~= sum then
    is_foreign = true
    tree:add_proto_expert_info(foreign)
  end
end

function kiv.dissector(buffer, pinfo, root)
  pinfo.cols.protocol = "kiv"
  local tree = root:add(kiv, buffer())
  if buffer:len() < 16 or buffer(0, 4):le_uint() ~= buffer:len() then
    tree:add_proto_expert_info(damaged)
    return
  end
  local kind = buffer(4, 2):le_uint()
  tree:add_le(heads.kind, buffer(4, 2))
  if kind == KIND.schema then return dissect_schema(buffer, tree, pinfo) end
  if kind ~= KIND.begins and kind ~= KIND.returns then
    if KIND_NAMES[kind] then dissect_mark(buffer, kind, tree, pinfo) end
    return
  end
  local operation = operations[buffer(6, 2):le_uint()]
  if is_foreign or not operation then
    tree:add_proto_expert_info(foreign)
    return
  end
  tree:add(heads.operation, buffer(6, 2), operation.name)
  tree:add(heads.family, buffer(6, 2), operation.family)
  if kind == KIND.begins then dissect_begins(buffer, operation, tree, pinfo)
  else dissect_returns(buffer, operation, tree, pinfo) end
end

DissectorTable.get("wtap_encap"):add(wtap.USER0, kiv)
