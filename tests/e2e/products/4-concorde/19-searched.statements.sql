-- max rows 3
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),RTRIM(LTRIM("City")),"Balance","Created" FROM "Customer" WHERE ((((UCASE(RTRIM(LTRIM("Name"))) LIKE UCASE('%S%'))))) ORDER BY RTRIM(LTRIM("No"))
