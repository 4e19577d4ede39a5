-- max rows 1
SELECT RTRIM(LTRIM("Name")),RTRIM(LTRIM("No")) FROM (SELECT "No", "Name", "Balance" FROM "Customer" WHERE "Balance" > -2000) AS "KORVANTASUBQUERYNAME" WHERE (RTRIM(LTRIM("No"))='C3')
-- max rows 3
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),"Balance" FROM (SELECT "No", "Name", "Balance" FROM "Customer" WHERE "Balance" > -2000) AS "KORVANTASUBQUERYNAME" WHERE (((RTRIM(LTRIM("Name")) <> 'Ann')) AND ((RTRIM(LTRIM("Name"))>'Smith & Sons') OR (RTRIM(LTRIM("Name"))>='Smith & Sons' AND RTRIM(LTRIM("No"))>'C3'))) ORDER BY RTRIM(LTRIM("Name")), RTRIM(LTRIM("No"))
