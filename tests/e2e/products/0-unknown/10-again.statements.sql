-- max rows 1
SELECT "No" FROM "Customer" WHERE ("No"=3)
-- max rows 3
SELECT "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code" FROM "Customer" WHERE ( (("No">=3))) ORDER BY "No"
