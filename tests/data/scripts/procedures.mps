call greet "world" 3
say r
exit
procedure greet who times
[
for k 1 times
say "hello" who k
r=who+times
]
