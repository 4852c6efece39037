x=[red green blue
for i 1 3
say i x.i
