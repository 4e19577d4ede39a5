-- max rows 3
SELECT TOP 3 "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code",CAST("Id" AS BINARY(16)),"Mark" FROM "Customer" WHERE ((())) ORDER BY "No"
