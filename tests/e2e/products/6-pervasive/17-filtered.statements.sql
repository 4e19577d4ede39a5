-- max rows 3
SELECT TOP 3 "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code",CAST("Id" AS BINARY(16)),"Mark" FROM "Customer" WHERE (((CAST("Id" AS BINARY(16)) = '00000000000000000000000000001E10' OR CAST("Id" AS BINARY(16)) = 'A0000000000000000000000000000004') AND ("Mark" >= '0A02') AND ("Blocked" <> 1))) ORDER BY "No"
