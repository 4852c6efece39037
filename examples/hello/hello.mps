; hello.mps: a first Y script. Run it with
;   bauble run --headless hello.mps
; and read what it says in debug.txt.
say "hello from Y"
names=[Ada Grace Linus
for i 1 3
call greet names.i i
total=0
for n 1 10
total=total+n
say "1 + 2 + ... + 10 =" total
quit

procedure greet who number
[
say "guest" number "is" who
]
