-- test.lua - uses each member of the module once. A failed assertion fails the test.

local object = Counter()
assert(object.Value == 0)
object.Value = 5
assert(object:Add(2) == 7)

local copy = CounterTools.Copy(object)
assert(copy ~= object and copy.Value == 7)
assert(CounterTools.Copy(nil) == nil)

print("counter: 7 and " .. copy:Add(-7))
