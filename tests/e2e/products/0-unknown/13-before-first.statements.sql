SELECT "No" FROM "Customer" WHERE ("No"=1)
SELECT "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code" FROM "Customer" WHERE ( (("No"<1))) ORDER BY "No" DESC
SELECT "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code" FROM "Customer" ORDER BY "No"
