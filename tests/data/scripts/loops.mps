for i 1 3
say "i" i
total=0
for n 1 100
total=total+n
say "total" total
