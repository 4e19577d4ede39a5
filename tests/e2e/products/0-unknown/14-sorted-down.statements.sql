-- max rows 3
SELECT "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code" FROM "Customer" ORDER BY "Name" DESC, "No" DESC
