a="abcdef"
say a|3 a|2|3 a||2
b=a+"gh"
say b
if b>"abc"
say "greater"
n="12"
say n+1 n*2
