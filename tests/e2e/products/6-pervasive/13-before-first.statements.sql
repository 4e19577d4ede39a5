SELECT TOP 1 "No" FROM "Customer" WHERE ("No"=1)
SELECT TOP 3 "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code",CAST("Id" AS BINARY(16)),"Mark" FROM "Customer" WHERE ( (("No"<1))) ORDER BY "No" DESC
SELECT TOP 3 "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code",CAST("Id" AS BINARY(16)),"Mark" FROM "Customer" ORDER BY "No"
