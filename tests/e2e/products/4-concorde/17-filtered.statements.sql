-- max rows 3
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),RTRIM(LTRIM("City")),"Balance","Created" FROM "Customer" WHERE (((RTRIM(LTRIM("City")) = 'Oslo' OR RTRIM(LTRIM("City")) = 'Rome') AND ("Balance" > 2) AND (RTRIM(LTRIM("Name")) >= 'O''Brien'))) ORDER BY RTRIM(LTRIM("No"))
