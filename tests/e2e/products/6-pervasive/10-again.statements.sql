-- max rows 1
SELECT TOP 1 "No" FROM "Customer" WHERE ("No"=3)
-- max rows 3
SELECT TOP 3 "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code",CAST("Id" AS BINARY(16)),"Mark" FROM "Customer" WHERE ( (("No">=3))) ORDER BY "No"
