-- max rows 3
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),RTRIM(LTRIM("City")),"Balance","Created" FROM "Customer" WHERE (((RTRIM(LTRIM("Name")) > 'A') AND ((UCASE(RTRIM(LTRIM("Name"))) LIKE UCASE('%n%'))))) ORDER BY RTRIM(LTRIM("Name")), RTRIM(LTRIM("No"))
